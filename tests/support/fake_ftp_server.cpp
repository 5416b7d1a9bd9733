#include "fake_ftp_server.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <random>
#include <stdexcept>

namespace plxtest {
namespace {

int ListenOnLoopback(unsigned short& port)
{
    int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        throw std::runtime_error("socket failed");
    }
    int yes = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = 0;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) != 0 || ::listen(fd, 8) != 0) {
        ::close(fd);
        throw std::runtime_error("bind/listen failed");
    }
    socklen_t len = sizeof(addr);
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len);
    port = ntohs(addr.sin_port);
    return fd;
}

// Waits for fd to become readable; false on time-out or when the server stops.
bool WaitReadable(const FakeFtpServer& server, int fd, int timeoutMs)
{
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!server.Stopping()) {
        pollfd p{fd, POLLIN, 0};
        if (::poll(&p, 1, 20) > 0) {
            return true;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
    }
    return false;
}

void SendAll(int fd, const char* data, size_t size)
{
    while (fd >= 0 && size > 0) {
        ssize_t sent = ::send(fd, data, size, MSG_NOSIGNAL);
        if (sent <= 0) {
            return;
        }
        data += sent;
        size -= static_cast<size_t>(sent);
    }
}

std::string Upper(std::string text)
{
    for (char& c : text) {
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
        }
    }
    return text;
}

} // namespace

// ---- Reply --------------------------------------------------------------------------------------------------------

Reply Reply::Split(const std::vector<std::string>& pieces, int ms)
{
    Reply reply;
    for (size_t i = 0; i < pieces.size(); ++i) {
        if (i > 0) {
            reply.Pause(ms);
        }
        reply.Then(pieces[i]);
    }
    return reply;
}

Reply& Reply::Then(const std::string& bytes)
{
    m_steps.push_back({Step::Send, bytes, 0});
    return *this;
}

Reply& Reply::Pause(int ms)
{
    m_steps.push_back({Step::Pause, std::string(), ms});
    return *this;
}

Reply& Reply::CloseControl()
{
    m_steps.push_back({Step::CloseControl, std::string(), 0});
    return *this;
}

// ---- Session ------------------------------------------------------------------------------------------------------

Session::~Session()
{
    CloseData();
    CloseListener();
    CloseControl();
}

void Session::Send(const std::string& bytes)
{
    // "{p1}" and "{p2}" stand for the two numbers of the current passive port.
    std::string text = bytes;
    for (const char* key : {"{p1}", "{p2}"}) {
        std::string::size_type at = text.find(key);
        while (at != std::string::npos) {
            int value = key[2] == '1' ? m_passivePort / 256 : m_passivePort % 256;
            text.replace(at, 4, std::to_string(value));
            at = text.find(key);
        }
    }
    SendAll(m_controlFd, text.data(), text.size());
}

void Session::Play(const Reply& reply)
{
    for (const Reply::Step& step : reply.Steps()) {
        switch (step.kind) {
        case Reply::Step::Send: Send(step.bytes); break;
        case Reply::Step::Pause: Pause(step.ms); break;
        case Reply::Step::CloseControl: CloseControl(); break;
        }
    }
}

void Session::Pause(int ms) { m_server.SleepMs(ms); }

void Session::CloseControl()
{
    if (m_controlFd >= 0) {
        ::shutdown(m_controlFd, SHUT_RDWR);
        ::close(m_controlFd);
        m_controlFd = -1;
    }
}

unsigned short Session::OpenPassive()
{
    CloseData();
    CloseListener();
    m_listenFd = ListenOnLoopback(m_passivePort);
    m_server.AddPort(m_passivePort);
    return m_passivePort;
}

bool Session::DataPending() const
{
    pollfd p{m_listenFd, POLLIN, 0};
    return m_listenFd >= 0 && ::poll(&p, 1, 0) > 0;
}

bool Session::AcceptData(int timeoutMs)
{
    if (m_listenFd < 0 || !WaitReadable(m_server, m_listenFd, timeoutMs)) {
        return false;
    }
    m_dataFd = ::accept4(m_listenFd, nullptr, nullptr, SOCK_CLOEXEC);
    if (m_dataFd >= 0) {
        m_server.CountDataConnection();
    }
    return m_dataFd >= 0;
}

void Session::SendData(const DataPlan& plan)
{
    std::mt19937 random(12345);
    size_t limit = plan.closeAfter < plan.content.size() ? plan.closeAfter : plan.content.size();
    size_t offset = 0;
    while (offset < limit && m_dataFd >= 0) {
        size_t piece = limit - offset;
        if (plan.chunk > 0) {
            size_t size = plan.randomChunks ? 1 + random() % plan.chunk : plan.chunk;
            piece = std::min(piece, size);
        }
        if (offset > 0 && plan.delayMs > 0) {
            Pause(plan.delayMs);
        }
        SendAll(m_dataFd, plan.content.data() + offset, piece);
        offset += piece;
    }
    if (plan.silenceMs > 0) {
        Pause(plan.silenceMs);
    }
}

std::string Session::ReceiveData(int timeoutMs)
{
    std::string data;
    char buffer[65536];
    while (m_dataFd >= 0 && WaitReadable(m_server, m_dataFd, timeoutMs)) {
        ssize_t got = ::recv(m_dataFd, buffer, sizeof(buffer), 0);
        if (got <= 0) {
            break;
        }
        data.append(buffer, static_cast<size_t>(got));
    }
    return data;
}

void Session::CloseData()
{
    if (m_dataFd >= 0) {
        ::close(m_dataFd);
        m_dataFd = -1;
    }
}

void Session::ResetData()
{
    if (m_dataFd >= 0) {
        linger abort{1, 0};
        ::setsockopt(m_dataFd, SOL_SOCKET, SO_LINGER, &abort, sizeof(abort));
    }
    CloseData();
}

void Session::CloseListener()
{
    if (m_listenFd >= 0) {
        ::close(m_listenFd);
        m_listenFd = -1;
    }
}

// ---- Server -------------------------------------------------------------------------------------------------------

FakeFtpServer::FakeFtpServer()
{
    m_listenFd = ListenOnLoopback(m_port);
    m_ports.push_back(m_port);

    auto transferOut = [this](Session& s, const std::string& name) {
        if (!s.HasListener()) {
            s.Send("425 Use PASV first.\r\n");
            return;
        }
        DataPlan plan;
        if (!PlanFor(name, plan)) {
            s.CloseListener();
            s.Send("550 Failed to open file.\r\n");
            return;
        }
        s.Send(plan.completionFirst ? "150 Opening data connection.\r\n226 Transfer complete.\r\n"
                                    : "150 Opening data connection.\r\n");
        if (s.AcceptData()) {
            s.SendData(plan);
        }
        s.CloseData();
        s.CloseListener();
        if (!plan.completionFirst) {
            s.Send("226 Transfer complete.\r\n");
        }
    };
    m_defaults = {
        {"USER", ReplyHandler("331 Please specify the password.\r\n")},
        {"PASS", ReplyHandler("230 Login successful.\r\n")},
        {"PWD", ReplyHandler("257 \"/home/u\" is the current directory\r\n")},
        {"QUIT", ReplyHandler(Reply("221 Goodbye.\r\n").CloseControl())},
        {"TYPE", ReplyHandler("200 Switching to Binary mode.\r\n")},
        {"CWD", ReplyHandler("250 Directory successfully changed.\r\n")},
        {"MKD", ReplyHandler("257 \"dir\" created\r\n")},
        {"RMD", ReplyHandler("250 Remove directory operation successful.\r\n")},
        {"DELE", ReplyHandler("250 Delete operation successful.\r\n")},
        {"SYST", ReplyHandler("215 UNIX Type: L8\r\n")},
        {"ABOR",
         [](Session& s, const std::string&) {
             s.CloseData();
             s.Send("226 Abort successful.\r\n");
         }},
        {"PASV",
         [](Session& s, const std::string&) {
             s.OpenPassive();
             s.Send("227 Entering Passive Mode (127,0,0,1,{p1},{p2}).\r\n");
         }},
        {"LIST", [transferOut](Session& s, const std::string&) { transferOut(s, std::string()); }},
        {"RETR", transferOut},
        {"STOR",
         [this](Session& s, const std::string&) {
             if (!s.HasListener()) {
                 s.Send("425 Use PASV first.\r\n");
                 return;
             }
             s.Send("150 Ok to send data.\r\n");
             std::string data = s.AcceptData() ? s.ReceiveData() : std::string();
             AddUpload(data);
             s.CloseData();
             s.CloseListener();
             s.Send("226 Transfer complete.\r\n");
         }},
    };
    m_thread = std::thread([this] { Run(); });
}

FakeFtpServer::~FakeFtpServer()
{
    m_stop = true;
    m_changed.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
    ::close(m_listenFd);
}

FakeFtpServer::Handler FakeFtpServer::ReplyHandler(const Reply& reply)
{
    return [reply](Session& s, const std::string&) { s.Play(reply); };
}

void FakeFtpServer::Greeting(const Reply& reply)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_greeting = reply;
}

void FakeFtpServer::On(const std::string& verb, const Reply& reply, int times)
{
    OnHandle(verb, ReplyHandler(reply), times);
}

void FakeFtpServer::OnHandle(const std::string& verb, Handler handler, int times)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_overrides[verb].push_back({std::move(handler), times});
}

void FakeFtpServer::Always(const std::string& verb, const Reply& reply) { AlwaysHandle(verb, ReplyHandler(reply)); }

void FakeFtpServer::AlwaysHandle(const std::string& verb, Handler handler)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_always[verb] = std::move(handler);
}

void FakeFtpServer::SetData(const DataPlan& plan)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_plan = plan;
}

void FakeFtpServer::SetFile(const std::string& name, const std::string& content)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_files[name] = content;
}

bool FakeFtpServer::PlanFor(const std::string& name, DataPlan& plan) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    plan = m_plan;
    if (name.empty() || m_files.empty()) {
        return true;
    }
    auto file = m_files.find(name);
    if (file == m_files.end()) {
        return false;
    }
    plan.content = file->second;
    return true;
}

DataPlan FakeFtpServer::Plan() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_plan;
}

std::vector<std::string> FakeFtpServer::Lines() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines;
}

std::string FakeFtpServer::Bytes() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_bytes;
}

std::vector<std::string> FakeFtpServer::Uploads() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_uploads;
}

void FakeFtpServer::AddPort(unsigned short port)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_ports.push_back(port);
}

std::vector<unsigned short> FakeFtpServer::Ports() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_ports;
}

unsigned short ClosedPort()
{
    unsigned short port = 0;
    ::close(ListenOnLoopback(port));
    return port;
}

std::string PassiveReply(unsigned short port)
{
    return "227 Entering Passive Mode (127,0,0,1," + std::to_string(port / 256) + "," + std::to_string(port % 256) +
           ").\r\n";
}

StalledListener::StalledListener()
{
    m_fd = ListenOnLoopback(m_port);
    ::listen(m_fd, 0);  // an accept queue of one, filled below
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = htons(m_port);
    for (int i = 0; i < 3; ++i) {
        int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        ::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr));
        m_fillers.push_back(fd);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // let the fillers take the queue
}

StalledListener::~StalledListener()
{
    for (int fd : m_fillers) {
        ::close(fd);
    }
    ::close(m_fd);
}

int ClientDescriptors(const FakeFtpServer& server)
{
    // Sockets that are not the server's, and files under the tests' temporary folders: what a transfer could
    // leak. Other descriptors (a tool such as valgrind may open its own at any time) are not counted.
    std::vector<unsigned short> ports = server.Ports();
    int count = 0;
    DIR* dir = opendir("/proc/self/fd");
    if (dir == nullptr) {
        return -1;
    }
    while (dirent* entry = readdir(dir)) {
        if (entry->d_name[0] == '.') {
            continue;
        }
        int fd = std::atoi(entry->d_name);
        if (fd == dirfd(dir)) {
            continue;
        }
        char target[512] = {};
        std::string link = std::string("/proc/self/fd/") + entry->d_name;
        if (::readlink(link.c_str(), target, sizeof(target) - 1) <= 0) {
            continue;
        }
        const std::string what(target);
        if (what.compare(0, 7, "socket:") == 0) {
            sockaddr_in local{};
            socklen_t length = sizeof(local);
            if (::getsockname(fd, reinterpret_cast<sockaddr*>(&local), &length) == 0 && local.sin_family == AF_INET &&
                std::find(ports.begin(), ports.end(), ntohs(local.sin_port)) != ports.end()) {
                continue;
            }
            ++count;
        } else if (what.compare(0, 10, "/tmp/plx_t") == 0) {
            ++count;
        }
    }
    closedir(dir);
    return count;
}

void FakeFtpServer::AddUpload(const std::string& bytes)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_uploads.push_back(bytes);
}

bool FakeFtpServer::WaitForLines(size_t count, int timeoutMs) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] { return m_lines.size() >= count; });
}

void FakeFtpServer::SleepMs(int ms) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_for(lock, std::chrono::milliseconds(ms), [this] { return m_stop.load(); });
}

void FakeFtpServer::Run()
{
    while (!m_stop) {
        if (!WaitReadable(*this, m_listenFd, 1000000)) {
            continue;
        }
        int fd = ::accept4(m_listenFd, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) {
            continue;
        }
        ++m_connections;
        Serve(fd);
    }
}

void FakeFtpServer::Serve(int controlFd)
{
    Session session(*this, controlFd);
    Reply greeting;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        greeting = m_greeting;
    }
    session.Play(greeting);

    std::string partial;
    char buffer[4096];
    while (session.ControlOpen() && !m_stop) {
        if (!WaitReadable(*this, session.ControlFd(), 1000000)) {
            continue;
        }
        ssize_t got = ::recv(session.ControlFd(), buffer, sizeof(buffer), 0);
        if (got <= 0) {
            break;
        }
        partial.append(buffer, static_cast<size_t>(got));
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_bytes.append(buffer, static_cast<size_t>(got));
        }
        std::string::size_type feed;
        while (session.ControlOpen() && (feed = partial.find('\n')) != std::string::npos) {
            std::string line = partial.substr(0, feed + 1);
            partial.erase(0, feed + 1);
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                m_lines.push_back(line);
            }
            m_changed.notify_all();
            Dispatch(session, line);
        }
    }
}

void FakeFtpServer::Dispatch(Session& session, const std::string& line)
{
    std::string command = line;
    while (!command.empty() && (command.back() == '\n' || command.back() == '\r')) {
        command.pop_back();
    }
    std::string::size_type blank = command.find(' ');
    std::string verb = Upper(command.substr(0, blank));
    std::string argument = blank == std::string::npos ? std::string() : command.substr(blank + 1);
    Handler handler = Lookup(verb);
    if (handler) {
        handler(session, argument);
    } else {
        session.Send("502 Command not implemented.\r\n");
    }
}

FakeFtpServer::Handler FakeFtpServer::Lookup(const std::string& verb)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    auto queued = m_overrides.find(verb);
    if (queued != m_overrides.end() && !queued->second.empty()) {
        Entry& entry = queued->second.front();
        Handler handler = entry.handler;
        if (--entry.times <= 0) {
            queued->second.pop_front();
        }
        return handler;
    }
    auto always = m_always.find(verb);
    if (always != m_always.end()) {
        return always->second;
    }
    auto fallback = m_defaults.find(verb);
    return fallback != m_defaults.end() ? fallback->second : Handler();
}

} // namespace plxtest
