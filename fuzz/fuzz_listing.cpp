// Fuzz target: the LIST reply parser (InterpDirInfo and the helpers it uses).
//
// Input: the raw bytes of a LIST data connection. The whole input is parsed twice, once with bAllEntries false and
// once with it true, and every record returned is deleted (LeakSanitizer reports a record the parser loses).
// Then the first three blank-separated words of each complete line are handed to GetFileDateTime, GetHourAndMin,
// IsNoReadWrite and GetMonthNum directly, some of them as null pointers (chosen by the line's index).
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "fuzz_common.h"
#include "ftpclientImpl.h"

using namespace PLX_FTP_CLIENT;

namespace {

// 2026-11-21 12:00:00 UTC: the day the real listings in tests/data/listings were captured. A fixed clock keeps
// every run of an input identical (the parser infers the year of recent entries from the clock).
time_t FixedClock(time_t* out)
{
    const time_t now = 1795262400;
    if (out != nullptr) {
        *out = now;
    }
    return now;
}

size_t Parse(const std::string& text, bool bAllEntries)
{
    std::vector<TkFileInfo*> files;
    InterpDirInfo(text, bAllEntries, files);
    const size_t count = files.size();
    for (TkFileInfo* info : files) {
        PLX_FUZZ_CHECK(info != nullptr);
        PLX_FUZZ_CHECK(info->ucFileType <= 2);
        delete info;
    }
    return count;
}

// The words of one line, split at blanks and tabs, at most three of them.
std::vector<std::string> FirstWords(const std::string& line)
{
    std::vector<std::string> words;
    size_t at = 0;
    while (words.size() < 3 && at < line.size()) {
        size_t start = line.find_first_not_of(" \t", at);
        if (start == std::string::npos) {
            break;
        }
        size_t end = line.find_first_of(" \t", start);
        if (end == std::string::npos) {
            end = line.size();
        }
        words.push_back(line.substr(start, end - start));
        at = end;
    }
    while (words.size() < 3) {
        words.emplace_back();
    }
    return words;
}

void Helpers(const std::string& text)
{
    constexpr size_t kMaxLines = 64;
    size_t start = 0;
    for (size_t index = 0; index < kMaxLines; ++index) {
        size_t feed = text.find('\n', start);
        if (feed == std::string::npos) {
            break;
        }
        std::vector<std::string> words = FirstWords(text.substr(start, feed - start));
        start = feed + 1;

        // Index bits 0..2 make the month, day and time-or-year argument null in turn (index 7: all three).
        const unsigned nulls = static_cast<unsigned>(index % 8);
        const char* month = (nulls & 1u) != 0 ? nullptr : words[0].c_str();
        const char* day = (nulls & 2u) != 0 ? nullptr : words[1].c_str();
        const char* last = (nulls & 4u) != 0 ? nullptr : words[2].c_str();

        std::string when = GetFileDateTime(month, day, last);
        PLX_FUZZ_CHECK(when.size() < 64);
        unsigned int hour = 0;
        unsigned int minute = 0;
        GetHourAndMin(last, hour, minute);
        (void)IsNoReadWrite(month);
        std::string code = GetMonthNum(month);
        PLX_FUZZ_CHECK(code.size() == 2);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    plxfuzz::InstallQuietLog();
    setenv("TZ", "UTC", 1);
    tzset();
    SetListingClock(&FixedClock);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const size_t some = Parse(text, false);
    const size_t all = Parse(text, true);
    // bAllEntries only ever lets more lines through.
    PLX_FUZZ_CHECK(some <= all);
    Helpers(text);
    return 0;
}
