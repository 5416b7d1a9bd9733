#include "LogProcess.h"

#include <cstdio>
#include <mutex>

namespace {

std::mutex& SinkMutex()
{
    static std::mutex mutex;
    return mutex;
}

LogProcess::Sink& CurrentSink()
{
    static LogProcess::Sink sink;
    return sink;
}

void DefaultSink(LogLevel level, unsigned int code, const std::string& text, const LocationInfo& location)
{
    if (level != LogLevel::Error) {
        return;
    }
    std::fprintf(stderr, "ERROR 0x%08X %s:%s:%d %s\n", code, location.getFileName(), location.getMethodName(),
                 location.getLineNumber(), text.c_str());
}

void Emit(LogLevel level, unsigned int code, const std::string& text, const LocationInfo& location)
{
    std::lock_guard<std::mutex> lock(SinkMutex());
    if (CurrentSink()) {
        CurrentSink()(level, code, text, location);
    } else {
        DefaultSink(level, code, text, location);
    }
}

} // namespace

LocationInfo::LocationInfo(const char* file, const char* function, int line)
    : m_pFile(file ? file : ""), m_pFunction(function ? function : ""), m_iLine(line)
{
}

const char* LocationInfo::getFileName() const { return m_pFile; }
const char* LocationInfo::getMethodName() const { return m_pFunction; }
int LocationInfo::getLineNumber() const { return m_iLine; }

void LogProcess::Error(unsigned int code, const std::string& text, const LocationInfo& location)
{
    Emit(LogLevel::Error, code, text, location);
}

void LogProcess::Error(unsigned int code, const char* text, const LocationInfo& location)
{
    Emit(LogLevel::Error, code, text ? std::string(text) : std::string(), location);
}

void LogProcess::Debug(const std::string& text, const LocationInfo& location)
{
    Emit(LogLevel::Debug, 0, text, location);
}

void LogProcess::Info(const std::string& text, const LocationInfo& location)
{
    Emit(LogLevel::Info, 0, text, location);
}

void LogProcess::SetSink(Sink sink)
{
    std::lock_guard<std::mutex> lock(SinkMutex());
    CurrentSink() = std::move(sink);
}
