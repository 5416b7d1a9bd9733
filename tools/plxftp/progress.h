// The download progress bar of "plxftp get": GetOneFile is synchronous, so a second thread watches the local
// file grow and redraws the bar on a terminal.
#ifndef PLXFTP_PROGRESS_H
#define PLXFTP_PROGRESS_H

#include <sys/stat.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>

namespace plxftp {

// Where a progress bar may be drawn: stderr when it is a terminal, else stdout when it is one, else nowhere
// (nullptr).
std::FILE* ProgressStream();

class ProgressBar {
public:
    // total: the remote size in bytes, or a negative number when it is not known (no percentage then).
    ProgressBar(std::FILE* stream, const std::string& localPath, long long total, const std::string& label);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void Start();
    // Stops the watcher; on success the bar is drawn once more at the final size and kept, else cleared away.
    void Finish(bool success);

private:
    void Run();
    // The local file's size once the download has started writing it; false before that.
    bool CurrentSize(unsigned long long& bytes) const;
    void Draw(unsigned long long bytes);

    std::FILE* m_stream;
    std::string m_path;
    long long m_total;
    std::string m_label;
    bool m_existed = false;
    struct stat m_before {};
    std::chrono::steady_clock::time_point m_started;
    std::chrono::steady_clock::time_point m_lastGrowth;
    unsigned long long m_lastBytes = 0;
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stop = false;
};

} // namespace plxftp

#endif // PLXFTP_PROGRESS_H
