// Opening local files whose path is written in a given character set.
#ifndef PLX_ORKAOS_H
#define PLX_ORKAOS_H

#include <cstdio>

#include "PlatformExport.h"

namespace ORKA_OS {
// Opens path (written in encoding, for example "UTF-8") with the stdio mode; null with errno set on failure.
PLX_PLATFORM_API FILE* fopen(const char* path, const char* mode, const char* encoding);
} // namespace ORKA_OS

#endif // PLX_ORKAOS_H
