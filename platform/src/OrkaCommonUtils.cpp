#include "OrkaCommonUtils.h"

#include <iconv.h>
#include <langinfo.h>

#include <cctype>
#include <cerrno>
#include <cstring>

namespace {

// "UTF-8", "utf8" and "Utf_8" name the same set: compare letters and digits only, case-insensitively.
std::string Normalised(const char* name)
{
    std::string out;
    for (const char* p = name; p && *p; ++p) {
        if (std::isalnum(static_cast<unsigned char>(*p))) {
            out += static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
        }
    }
    return out;
}

std::string Convert(const char* text, const char* to, const char* from)
{
    if (text == nullptr) {
        return std::string();
    }
    std::string input(text);
    if (input.empty() || Normalised(to) == Normalised(from)) {
        return input;
    }
    iconv_t cd = iconv_open(to, from);
    if (cd == reinterpret_cast<iconv_t>(-1)) {
        return input;
    }
    std::string output;
    char* in = &input[0];
    size_t inLeft = input.size();
    char block[256];
    bool failed = false;
    while (inLeft > 0 && !failed) {
        char* out = block;
        size_t outLeft = sizeof(block);
        size_t rc = iconv(cd, &in, &inLeft, &out, &outLeft);
        output.append(block, sizeof(block) - outLeft);
        failed = (rc == static_cast<size_t>(-1) && errno != E2BIG);
    }
    if (!failed) {
        char* out = block;
        size_t outLeft = sizeof(block);
        failed = iconv(cd, nullptr, nullptr, &out, &outLeft) == static_cast<size_t>(-1);
        output.append(block, sizeof(block) - outLeft);
    }
    iconv_close(cd);
    return failed ? input : output;
}

} // namespace

std::string OrkaCommonUtils::UTF8TOLOC(const char* text)
{
    return Convert(text, nl_langinfo(CODESET), "UTF-8");
}

std::string OrkaCommonUtils::LOC2UTF8(const char* text)
{
    return Convert(text, "UTF-8", nl_langinfo(CODESET));
}
