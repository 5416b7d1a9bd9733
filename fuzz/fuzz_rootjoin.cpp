// Fuzz target: root joining, CFtpClientImpl::addRoodDir(path, root).
//
// Input: "<root>\0<path>". The bytes before the first NUL are the root, everything after it (NULs included) is the
// path; an input without a NUL is all root and an empty path. The target checks what the header promises:
// an empty root gives the path back, an empty path gives "", and otherwise the result is the root with
// backslashes made '/' and at most one trailing '/' dropped, followed by the path (with a '/' put in front unless
// it starts with '/' or '\').
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz_common.h"
#include "ftpclientImpl.h"

using namespace PLX_FTP_CLIENT;

namespace {

CFtpClientImpl* g_impl = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    plxfuzz::InstallQuietLog();
    g_impl = new CFtpClientImpl();  // touches no network; kept for the whole run
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    const size_t nul = input.find('\0');
    const std::string root = input.substr(0, nul);
    const std::string path = nul != std::string::npos ? input.substr(nul + 1) : std::string();

    // A fresh object for some inputs, so that construction and destruction are covered too.
    CFtpClientImpl local;
    CFtpClientImpl& impl = (size % 2 == 0) ? *g_impl : local;
    const std::string joined = impl.addRoodDir(path, root);

    if (root.empty()) {
        PLX_FUZZ_CHECK(joined == path);
        return 0;
    }
    if (path.empty()) {
        PLX_FUZZ_CHECK(joined.empty());
        return 0;
    }
    std::string absolute = path;
    if (path[0] != '/' && path[0] != '\\') {
        absolute.insert(0, "/");
    }
    PLX_FUZZ_CHECK(joined.size() >= absolute.size());
    PLX_FUZZ_CHECK(joined.compare(joined.size() - absolute.size(), absolute.size(), absolute) == 0);
    const std::string base = joined.substr(0, joined.size() - absolute.size());
    PLX_FUZZ_CHECK(base.find('\\') == std::string::npos);
    PLX_FUZZ_CHECK(base.size() == root.size() || base.size() + 1 == root.size() || base.empty());
    return 0;
}
