// Shared by the fuzz targets: a log sink that drops every line, so that logging costs next to nothing and the
// default sink does not flood standard error with the error lines that malformed input provokes.
#ifndef PLX_FUZZ_COMMON_H
#define PLX_FUZZ_COMMON_H

#include <cstdio>
#include <cstdlib>
#include <string>

#include "LogProcess.h"

namespace plxfuzz {

inline void InstallQuietLog()
{
    // An empty std::function would restore the default sink; a lambda that does nothing silences it.
    LogProcess::SetSink([](LogLevel, unsigned int, const std::string&, const LocationInfo&) {});
}

// A property that the library's own comments promise does not hold: report it and abort, so that libFuzzer
// saves the input as a crash.
#define PLX_FUZZ_CHECK(condition)                                                                              \
    do {                                                                                                       \
        if (!(condition)) {                                                                                    \
            std::fprintf(stderr, "%s:%d: property failed: %s\n", __FILE__, __LINE__, #condition);              \
            std::abort();                                                                                      \
        }                                                                                                      \
    } while (0)

} // namespace plxfuzz

#endif // PLX_FUZZ_COMMON_H
