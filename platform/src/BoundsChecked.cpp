#include "BoundsChecked.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

extern "C" {

int memset_s(void* dest, size_t destMax, int c, size_t count)
{
    if (dest == nullptr || destMax == 0) {
        return EINVAL;
    }
    if (count > destMax) {
        std::memset(dest, 0, destMax);
        return ERANGE;
    }
    std::memset(dest, c, count);
    return 0;
}

int memcpy_s(void* dest, size_t destMax, const void* src, size_t count)
{
    if (dest == nullptr || destMax == 0) {
        return EINVAL;
    }
    if (src == nullptr) {
        std::memset(dest, 0, destMax);
        return EINVAL;
    }
    if (count > destMax) {
        std::memset(dest, 0, destMax);
        return ERANGE;
    }
    std::memmove(dest, src, count);
    return 0;
}

int strncpy_s(char* dest, size_t destMax, const char* src, size_t count)
{
    if (dest == nullptr || destMax == 0) {
        return EINVAL;
    }
    if (src == nullptr) {
        dest[0] = '\0';
        return EINVAL;
    }
    size_t length = strnlen(src, count);
    if (length >= destMax) {
        std::memset(dest, 0, destMax);
        return ERANGE;
    }
    std::memmove(dest, src, length);
    dest[length] = '\0';
    return 0;
}

int snprintf_s(char* dest, size_t destMax, size_t count, const char* format, ...)
{
    if (dest == nullptr || destMax == 0 || format == nullptr) {
        errno = EINVAL;
        return -1;
    }
    size_t limit = count < destMax - 1 ? count : destMax - 1;
    va_list args;
    va_start(args, format);
    int written = std::vsnprintf(dest, limit + 1, format, args);
    va_end(args);
    if (written < 0) {
        dest[0] = '\0';
        errno = EINVAL;
        return -1;
    }
    if (static_cast<size_t>(written) > limit) {
        errno = ERANGE;
        return -1;
    }
    return written;
}

} // extern "C"
