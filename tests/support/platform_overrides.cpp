#include "platform_overrides.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <vector>

#include "BoundsChecked.h"
#include "OrkaCommonUtils.h"

namespace plxtest {

PlatformFaults& CurrentFaults()
{
    static PlatformFaults faults;
    return faults;
}

namespace {
template <typename F>
F Real(const char* symbol)
{
    void* found = dlsym(RTLD_NEXT, symbol);
    if (found == nullptr) {
        std::fprintf(stderr, "platform symbol %s not found\n", symbol);
        std::abort();
    }
    return reinterpret_cast<F>(found);
}
} // namespace

} // namespace plxtest

using plxtest::CurrentFaults;
using plxtest::Real;

extern "C" int memset_s(void* dest, size_t destMax, int c, size_t count)
{
    if (CurrentFaults().memsetResult) {
        return CurrentFaults().memsetResult(dest, destMax, count);
    }
    static auto real = Real<int (*)(void*, size_t, int, size_t)>("memset_s");
    return real(dest, destMax, c, count);
}

extern "C" int memcpy_s(void* dest, size_t destMax, const void* src, size_t count)
{
    if (CurrentFaults().memcpyResult) {
        return CurrentFaults().memcpyResult(dest, destMax, count);
    }
    static auto real = Real<int (*)(void*, size_t, const void*, size_t)>("memcpy_s");
    return real(dest, destMax, src, count);
}

extern "C" int strncpy_s(char* dest, size_t destMax, const char* src, size_t count)
{
    if (CurrentFaults().strncpyResult) {
        return CurrentFaults().strncpyResult(dest, destMax, count);
    }
    static auto real = Real<int (*)(char*, size_t, const char*, size_t)>("strncpy_s");
    return real(dest, destMax, src, count);
}

extern "C" int snprintf_s(char* dest, size_t destMax, size_t count, const char* format, ...)
{
    static auto real = Real<int (*)(char*, size_t, size_t, const char*, ...)>("snprintf_s");
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    int needed = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::vector<char> text(needed > 0 ? static_cast<size_t>(needed) + 1 : 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, args);
    va_end(args);
    // The real function does the writing, so the buffer ends up exactly as it would.
    int result = real(dest, destMax, count, "%s", text.data());
    if (CurrentFaults().snprintfResult) {
        return CurrentFaults().snprintfResult(std::string(text.data()), result);
    }
    return result;
}

std::string OrkaCommonUtils::UTF8TOLOC(const char* text)
{
    if (CurrentFaults().utf8ToLocal) {
        return CurrentFaults().utf8ToLocal(text);
    }
    static auto real = Real<std::string (*)(const char*)>("_ZN15OrkaCommonUtils9UTF8TOLOCB5cxx11EPKc");
    return real(text);
}

std::string OrkaCommonUtils::LOC2UTF8(const char* text)
{
    if (CurrentFaults().localToUtf8) {
        return CurrentFaults().localToUtf8(text);
    }
    static auto real = Real<std::string (*)(const char*)>("_ZN15OrkaCommonUtils8LOC2UTF8B5cxx11EPKc");
    return real(text);
}
