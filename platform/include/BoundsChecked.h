// Bounds-checked buffer functions. memset_s, memcpy_s and strncpy_s return 0 on success, 22 (EINVAL) for a null
// pointer or a destMax of 0, and 34 (ERANGE) when the data does not fit, after clearing the destination.
// snprintf_s returns the number of characters written, or -1 when the output is longer than count or destMax - 1
// (the destination then holds the truncated, NUL-terminated text and errno is ERANGE) or the arguments are bad
// (errno EINVAL).
#ifndef PLX_BOUNDSCHECKED_H
#define PLX_BOUNDSCHECKED_H

#include <stddef.h>

#include "PlatformExport.h"

#ifdef __cplusplus
extern "C" {
#endif

PLX_PLATFORM_API int memset_s(void* dest, size_t destMax, int c, size_t count);
PLX_PLATFORM_API int memcpy_s(void* dest, size_t destMax, const void* src, size_t count);
PLX_PLATFORM_API int strncpy_s(char* dest, size_t destMax, const char* src, size_t count);
PLX_PLATFORM_API int snprintf_s(char* dest, size_t destMax, size_t count, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif

#endif // PLX_BOUNDSCHECKED_H
