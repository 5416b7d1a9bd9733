// Character-set conversion between UTF-8 and the character set of the process's current LC_CTYPE locale.
// Equal character sets, or text that cannot be converted, come back unchanged; a null pointer gives "".
#ifndef PLX_ORKACOMMONUTILS_H
#define PLX_ORKACOMMONUTILS_H

#include <string>

#include "PlatformExport.h"

class PLX_PLATFORM_API OrkaCommonUtils {
public:
    static std::string UTF8TOLOC(const char* text);
    static std::string LOC2UTF8(const char* text);
};

#endif // PLX_ORKACOMMONUTILS_H
