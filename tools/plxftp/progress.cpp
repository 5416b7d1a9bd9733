#include "progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

#include "cli.h"

namespace plxftp {
namespace {

constexpr std::chrono::milliseconds kTick(100);

int TerminalColumns(std::FILE* stream)
{
    winsize size{};
    if (ioctl(fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        return size.ws_col;
    }
    return 80;
}

bool SameStamp(const struct stat& a, const struct stat& b)
{
    return a.st_ino == b.st_ino && a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
           a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

} // namespace

std::FILE* ProgressStream()
{
    if (isatty(STDERR_FILENO)) {
        return stderr;
    }
    if (isatty(STDOUT_FILENO)) {
        return stdout;
    }
    return nullptr;
}

ProgressBar::ProgressBar(std::FILE* stream, const std::string& localPath, long long total, const std::string& label)
    : m_stream(stream), m_path(localPath), m_total(total), m_label(label)
{
    // An older file of the same name counts as nothing until the download has truncated it.
    m_existed = stat(m_path.c_str(), &m_before) == 0;
    if (m_label.size() > 24) {
        m_label = "..." + m_label.substr(m_label.size() - 21);
    }
}

ProgressBar::~ProgressBar()
{
    if (m_thread.joinable()) {
        Finish(false);
    }
}

void ProgressBar::Start()
{
    m_started = std::chrono::steady_clock::now();
    m_lastGrowth = m_started;
    m_thread = std::thread(&ProgressBar::Run, this);
}

void ProgressBar::Finish(bool success)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
    unsigned long long bytes = 0;
    bool started = CurrentSize(bytes);
    if (success) {
        Draw(bytes);
        EndBarLine(m_stream, true);
    } else if (started) {
        EndBarLine(m_stream, false);
    }
}

bool ProgressBar::CurrentSize(unsigned long long& bytes) const
{
    struct stat now {};
    if (stat(m_path.c_str(), &now) != 0 || (m_existed && SameStamp(now, m_before))) {
        bytes = 0;
        return false;
    }
    bytes = static_cast<unsigned long long>(now.st_size);
    return true;
}

void ProgressBar::Run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stop) {
        lock.unlock();
        // Nothing is drawn before the library creates the local file, which it does once RETR is accepted:
        // a refused download shows no bar at all.
        unsigned long long bytes = 0;
        if (CurrentSize(bytes)) {
            Draw(bytes);
        }
        lock.lock();
        m_wake.wait_for(lock, kTick, [this] { return m_stop; });
    }
}

void ProgressBar::Draw(unsigned long long bytes)
{
    // The rate over the time the file was growing: it holds still while the library waits for the server's
    // final reply.
    std::chrono::steady_clock::time_point now = std::chrono::steady_clock::now();
    if (bytes != m_lastBytes) {
        m_lastBytes = bytes;
        m_lastGrowth = now;
    }
    double seconds = std::chrono::duration<double>(m_lastGrowth - m_started).count();
    std::string rate = seconds > 0.05 ? HumanBytes(static_cast<unsigned long long>(bytes / seconds)) + "/s" : "";
    std::string text = m_label + "  ";
    if (m_total < 0) {
        text += HumanBytes(bytes) + "  " + rate;
        DrawBarLine(m_stream, text);
        return;
    }
    unsigned long long total = static_cast<unsigned long long>(m_total);
    double fraction = total == 0 ? 1.0 : std::min(1.0, static_cast<double>(bytes) / static_cast<double>(total));
    char percent[8];
    std::snprintf(percent, sizeof(percent), "%3d%%", static_cast<int>(fraction * 100.0));
    std::string tail = std::string("  ") + percent + "  " + HumanBytes(bytes) + " / " + HumanBytes(total) + "  " + rate;
    // The widest the tail gets, so that the bar keeps its width while the numbers change.
    size_t widestTail = std::string("  100%  ").size() + 2 * HumanBytes(total).size() + 3 + 2 + 14;
    int room = TerminalColumns(m_stream) - 1 - static_cast<int>(text.size() + widestTail) - 2;
    int width = std::max(10, std::min(40, room));
    int filled = static_cast<int>(fraction * width);
    text += "[" + std::string(static_cast<size_t>(filled), '#') +
            std::string(static_cast<size_t>(width - filled), '.') + "]" + tail;
    DrawBarLine(m_stream, text);
}

} // namespace plxftp
