// Fuzz target: the wildcard matcher, WildcardMatch(text, pattern) and WildcardMatchChecked(text, pattern).
//
// Input: "<text>\0<pattern>". The text is the bytes before the first NUL, the pattern the bytes after it up to
// the next NUL (so both are NUL-terminated C strings); an input without a NUL is all text and an empty pattern.
// Besides running both functions, the target checks what their comments promise for every input:
// a pattern without '*' and '?' matches only the identical text, a pattern of stars alone matches everything,
// a literal prefix followed by '*' matches every text beginning with that prefix, and the checked variant is 0
// for an empty text and the plain result otherwise.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz_common.h"
#include "ftpcommand.h"

using namespace PLX_FTP_CLIENT;

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    plxfuzz::InstallQuietLog();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    const size_t nul = input.find('\0');
    const std::string text = input.substr(0, nul);
    std::string pattern;
    if (nul != std::string::npos) {
        pattern = input.substr(nul + 1);
        pattern = pattern.substr(0, pattern.find('\0'));
    }

    const int match = WildcardMatch(text.c_str(), pattern.c_str());
    const int checked = WildcardMatchChecked(text.c_str(), pattern.c_str());
    PLX_FUZZ_CHECK(match == 0 || match == 1);
    PLX_FUZZ_CHECK(checked == (text.empty() ? 0 : match));

    if (pattern.find_first_of("*?") == std::string::npos) {
        PLX_FUZZ_CHECK(match == (text == pattern ? 1 : 0));
    }
    if (!pattern.empty() && pattern.find_first_not_of('*') == std::string::npos) {
        PLX_FUZZ_CHECK(match == 1);
    }
    // The text matches itself when it holds no wildcard characters, and so does "<text>*".
    if (text.find_first_of("*?") == std::string::npos) {
        PLX_FUZZ_CHECK(WildcardMatch(text.c_str(), text.c_str()) == 1);
        const std::string prefix = text.substr(0, text.size() / 2) + "*";
        PLX_FUZZ_CHECK(WildcardMatch(text.c_str(), prefix.c_str()) == 1);
    }
    return 0;
}
