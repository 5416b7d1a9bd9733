// Captures every line the library logs through LogProcess while it is alive.
#ifndef PLX_TEST_LOG_CAPTURE_H
#define PLX_TEST_LOG_CAPTURE_H

#include <mutex>
#include <ostream>
#include <string>
#include <vector>

#include "LogProcess.h"

namespace plxtest {

struct LogLine {
    LogLevel level;
    unsigned int code;
    std::string text;
    std::string file;
    std::string function;

    bool operator==(const LogLine& other) const
    {
        return level == other.level && code == other.code && text == other.text && file == other.file &&
               function == other.function;
    }
};

inline std::ostream& operator<<(std::ostream& out, const LogLine& line)
{
    static const char* const kLevels[] = {"Debug", "Info", "Error"};
    return out << "{" << kLevels[static_cast<int>(line.level)] << ", 0x" << std::hex << line.code << std::dec
               << ", \"" << line.text << "\", " << line.file << ", " << line.function << "}";
}

inline LogLine Error(unsigned int code, const std::string& text, const std::string& file, const std::string& function)
{
    return {LogLevel::Error, code, text, file, function};
}
inline LogLine Info(const std::string& text, const std::string& file, const std::string& function)
{
    return {LogLevel::Info, 0, text, file, function};
}
inline LogLine Debug(const std::string& text, const std::string& file, const std::string& function)
{
    return {LogLevel::Debug, 0, text, file, function};
}

// The info line the reply reader writes for every usable receive.
inline LogLine ReplyTrace(int retries)
{
    return Info("FTPCLIENT_LOG:GetRetCode msg begin: ****** :end by using " + std::to_string(retries) + " times\n",
                "ftpcommand", "GetRetCode");
}

class LogCapture {
public:
    LogCapture()
    {
        LogProcess::SetSink([this](LogLevel level, unsigned int code, const std::string& text,
                                   const LocationInfo& where) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_lines.push_back({level, code, text, where.getFileName(), where.getMethodName()});
        });
    }
    ~LogCapture() { LogProcess::SetSink(nullptr); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<LogLine> All() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_lines;
    }
    std::vector<LogLine> Of(LogLevel level) const
    {
        std::vector<LogLine> out;
        for (const LogLine& line : All()) {
            if (line.level == level) {
                out.push_back(line);
            }
        }
        return out;
    }
    std::vector<LogLine> Errors() const { return Of(LogLevel::Error); }
    std::vector<LogLine> NotInfo() const
    {
        std::vector<LogLine> out;
        for (const LogLine& line : All()) {
            if (line.level != LogLevel::Info) {
                out.push_back(line);
            }
        }
        return out;
    }
    void Clear()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lines.clear();
    }

private:
    mutable std::mutex m_mutex;
    std::vector<LogLine> m_lines;
};

} // namespace plxtest

#endif // PLX_TEST_LOG_CAPTURE_H
