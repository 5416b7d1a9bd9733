// Fuzz target: splitting a remote path into directory and file, CFtpCommand::GetFtpFileAndDir(path, file, dir).
//
// Input: the path, every byte of it (embedded NULs included: the function reads the path as a C string, so the
// part after the first NUL must not matter). The target checks that the file holds no '/' or '\', and that the
// result equals the result for the path cut at its first NUL.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz_common.h"
#include "ftpcommand.h"

using namespace PLX_FTP_CLIENT;

namespace {

CFtpCommand* g_command = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    plxfuzz::InstallQuietLog();
    g_command = new CFtpCommand();  // touches no network; kept for the whole run
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string path(reinterpret_cast<const char*>(data), size);
    std::string file = "old file";
    std::string dir = "old dir";
    g_command->GetFtpFileAndDir(path, file, dir);

    PLX_FUZZ_CHECK(file.find_first_of("/\\") == std::string::npos);
    PLX_FUZZ_CHECK(file.find('\0') == std::string::npos && dir.find('\0') == std::string::npos);
    PLX_FUZZ_CHECK(dir.size() + file.size() <= std::strlen(path.c_str()) + 1);

    const std::string cut = path.substr(0, path.find('\0'));
    if (cut.size() != path.size()) {
        std::string cutFile;
        std::string cutDir;
        g_command->GetFtpFileAndDir(cut, cutFile, cutDir);
        PLX_FUZZ_CHECK(cutFile == file && cutDir == dir);
    }
    return 0;
}
