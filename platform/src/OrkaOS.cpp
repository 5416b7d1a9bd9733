#include "OrkaOS.h"

#include <cerrno>
#include <string>

#include "OrkaCommonUtils.h"

namespace ORKA_OS {

FILE* fopen(const char* path, const char* mode, const char* encoding)
{
    if (path == nullptr || mode == nullptr) {
        errno = EINVAL;
        return nullptr;
    }
    // The file system takes names in the locale's character set; a UTF-8 path is converted to it first.
    std::string local = (encoding != nullptr && std::string(encoding) == "UTF-8") ? OrkaCommonUtils::UTF8TOLOC(path)
                                                                                  : std::string(path);
    return std::fopen(local.c_str(), mode);
}

} // namespace ORKA_OS
