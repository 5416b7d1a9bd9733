// Fuzz target: the passive reply parser, CFtpCommand::GetPasvPort(reply, port).
//
// Input: "<host>\0<reply>". The bytes before the first NUL are the host given to SetServerInfo(host, 21, "u", "p");
// everything after it (NULs included) is the 227 reply. An input without a NUL is all host and an empty reply.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz_common.h"
#include "ftpcommand.h"
#include "plxftpclient.h"

using namespace PLX_FTP_CLIENT;

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    plxfuzz::InstallQuietLog();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const char* bytes = reinterpret_cast<const char*>(data);
    const void* nul = std::memchr(bytes, '\0', size);
    const size_t hostSize = nul != nullptr ? static_cast<size_t>(static_cast<const char*>(nul) - bytes) : size;
    const std::string host(bytes, hostSize);
    const std::string reply = hostSize < size ? std::string(bytes + hostSize + 1, size - hostSize - 1) : std::string();

    CFtpCommand command;
    command.SetServerInfo(host, 21, "u", "p");
    const unsigned short before = 0x5A5A;
    unsigned short port = before;
    const unsigned int result = command.GetPasvPort(reply, port);
    PLX_FUZZ_CHECK(result == FTP_OK || result == FTP_ERR_PASV_PARSE);
    // A reply that does not parse leaves the port alone.
    PLX_FUZZ_CHECK(result == FTP_OK || port == before);
    return 0;
}
