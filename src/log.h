// How the library logs: the "FTPCLIENT_LOG:" prefix on error and info lines, the debug texts of failed
// bounded-buffer calls, and the number formatting they share.
#ifndef PLX_LOG_H
#define PLX_LOG_H

#include <cstddef>
#include <string>

#include "BoundsChecked.h"
#include "LogProcess.h"

namespace PLX_FTP_CLIENT {

// Set up at load time by every source file that includes this header.
static const std::string g_strLogPrefix = "FTPCLIENT_LOG:";
static const std::string g_strCallFuncError = "Call Function return Error:";

// Decimal text of a signed 32-bit number in the classic locale (no digit grouping).
std::string IntToStr(int value);

// Error and info lines carry the prefix; debug lines never do.
void LogError(unsigned int code, const std::string& message, const LocationInfo& where);
void LogInfo(const std::string& message, const LocationInfo& where);

// Failed bounded-buffer calls: logged at debug level; the caller carries on with the buffer as it stands.
void LogMemsetFailure(int result, const LocationInfo& where);
void LogMemcpyFailure(int result, const LocationInfo& where);
void LogStrncpyFailure(int result, const LocationInfo& where);
void LogSnprintfFailure(int result, const LocationInfo& where);  // reads errno

// The checked calls in the form used throughout: a zero fill of the whole buffer, a copy of count bytes.
void ZeroFill(void* dest, size_t size, const LocationInfo& where);
void CopyBytes(void* dest, size_t size, const void* src, size_t count, const LocationInfo& where);
void CopyText(char* dest, size_t size, const char* src, size_t count, const LocationInfo& where);

} // namespace PLX_FTP_CLIENT

// A log location in the calling source file; each file defines kLogFile (its name without extension).
#define PLX_HERE(function) LocationInfo(kLogFile, function, __LINE__)

#endif // PLX_LOG_H
