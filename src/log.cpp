#include "log.h"

#include <cerrno>
#include <cstring>
#include <locale>
#include <sstream>

namespace PLX_FTP_CLIENT {

std::string IntToStr(int value)
{
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << value;
    return out.str();
}

void LogError(unsigned int code, const std::string& message, const LocationInfo& where)
{
    LogProcess::Error(code, g_strLogPrefix + message, where);
}

void LogInfo(const std::string& message, const LocationInfo& where)
{
    LogProcess::Info(g_strLogPrefix + message, where);
}

void LogMemsetFailure(int result, const LocationInfo& where)
{
    LogProcess::Debug("Memset operation Failed !!! :" + IntToStr(result), where);
}

void LogMemcpyFailure(int result, const LocationInfo& where)
{
    LogProcess::Debug("Memcpy operation Failed !!! :" + IntToStr(result), where);
}

void LogStrncpyFailure(int result, const LocationInfo& where)
{
    LogProcess::Debug("Strncpy operation Failed !!! :" + IntToStr(result), where);
}

void LogSnprintfFailure(int result, const LocationInfo& where)
{
    const char* reason = std::strerror(errno);
    LogProcess::Debug("Snprintf operation Failed !!! :" + IntToStr(result) + ", " + (reason ? reason : ""), where);
}

void ZeroFill(void* dest, size_t size, const LocationInfo& where)
{
    int result = memset_s(dest, size, 0, size);
    if (result != 0) {
        LogMemsetFailure(result, where);
    }
}

void CopyBytes(void* dest, size_t size, const void* src, size_t count, const LocationInfo& where)
{
    int result = memcpy_s(dest, size, src, count);
    if (result != 0) {
        LogMemcpyFailure(result, where);
    }
}

void CopyText(char* dest, size_t size, const char* src, size_t count, const LocationInfo& where)
{
    int result = strncpy_s(dest, size, src, count);
    if (result != 0) {
        LogStrncpyFailure(result, where);
    }
}

} // namespace PLX_FTP_CLIENT
