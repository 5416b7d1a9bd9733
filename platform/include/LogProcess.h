// Logging service of the platform layer. Every line goes to one sink; the default sink writes error lines to
// standard error and drops debug and info lines. Hosts and tests install their own with SetSink.
#ifndef PLX_LOGPROCESS_H
#define PLX_LOGPROCESS_H

#include <functional>
#include <string>

#include "PlatformExport.h"

class PLX_PLATFORM_API LocationInfo {
public:
    LocationInfo(const char* file, const char* function, int line);
    const char* getFileName() const;
    const char* getMethodName() const;
    int getLineNumber() const;

private:
    const char* m_pFile;
    const char* m_pFunction;
    int m_iLine;
};

enum class LogLevel { Debug, Info, Error };

class PLX_PLATFORM_API LogProcess {
public:
    using Sink = std::function<void(LogLevel, unsigned int code, const std::string& text, const LocationInfo&)>;

    static void Error(unsigned int code, const std::string& text, const LocationInfo& location);
    static void Error(unsigned int code, const char* text, const LocationInfo& location);
    static void Debug(const std::string& text, const LocationInfo& location);
    static void Info(const std::string& text, const LocationInfo& location);

    // Debug and info lines reach the sink with code 0. An empty function restores the default sink.
    static void SetSink(Sink sink);
};

#endif // PLX_LOGPROCESS_H
