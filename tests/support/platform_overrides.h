// Test executables that link this support put their own versions of some platform functions in place of the
// platform library's (the library calls them through their dynamic symbols). Each one runs the real function
// unless a test installs a fault for it; Faults resets everything when it goes out of scope.
#ifndef PLX_TEST_PLATFORM_OVERRIDES_H
#define PLX_TEST_PLATFORM_OVERRIDES_H

#include <cstddef>
#include <functional>
#include <string>

namespace plxtest {

struct PlatformFaults {
    // Return this value (without touching the buffer) instead of calling memset_s / strncpy_s / memcpy_s.
    std::function<int(void* dest, size_t destMax, size_t count)> memsetResult;
    std::function<int(void* dest, size_t destMax, size_t count)> memcpyResult;
    std::function<int(char* dest, size_t destMax, size_t count)> strncpyResult;
    // Given the fully formatted text, return what snprintf_s should return (and set errno); the real function
    // still writes the buffer first.
    std::function<int(const std::string& formatted, int realResult)> snprintfResult;
    // Replace the character-set conversions and file opening.
    std::function<std::string(const char*)> utf8ToLocal;
    std::function<std::string(const char*)> localToUtf8;
};

// The faults in force; tests set fields on it through a ScopedFaults.
PlatformFaults& CurrentFaults();

class ScopedFaults {
public:
    ScopedFaults() { CurrentFaults() = PlatformFaults(); }
    ~ScopedFaults() { CurrentFaults() = PlatformFaults(); }
    PlatformFaults* operator->() { return &CurrentFaults(); }
};

} // namespace plxtest

#endif // PLX_TEST_PLATFORM_OVERRIDES_H
