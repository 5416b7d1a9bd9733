// The listing parser of CFtpClientImpl: LIST text to TkFileInfo records. Unix long-listing lines (nine columns,
// permissions first) and MS-DOS lines (date, time, <DIR> or size, name); every other line is skipped.
#include <ace/OS_NS_time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <strings.h>

#include "ftpclientImpl.h"
#include "log.h"

namespace PLX_FTP_CLIENT {
namespace {

const char kLogFile[] = "ftpclientImpl";
constexpr int kMaxColumns = 9;
constexpr unsigned int kNullTimeText = 0x39000016;

ListingClock g_pfnClock = &::time;

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

bool IsDotEntry(const char* name) { return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0; }

// A column is its own NUL-terminated copy; the last column of a line (its rest) is copied as text.
char* NewColumn(const char* start, size_t length, bool restOfLine)
{
    char* column = new char[length + 1];
    ZeroFill(column, length + 1, PLX_HERE("InterpFileInfo"));
    if (length > 0) {
        if (restOfLine) {
            CopyText(column, length + 1, start, length, PLX_HERE("InterpFileInfo"));
        } else {
            CopyBytes(column, length + 1, start, length, PLX_HERE("InterpFileInfo"));
        }
    }
    column[length] = '\0';
    return column;
}

unsigned int ToNumber(const char* text) { return static_cast<unsigned int>(std::strtol(text, nullptr, 10)); }

} // namespace

void SetListingClock(ListingClock clock) { g_pfnClock = clock != nullptr ? clock : &::time; }

void InterpDirInfo(const std::string& text, bool bAllEntries, std::vector<TkFileInfo*>& files)
{
    if (text.empty()) {
        return;
    }
    std::string::size_type start = 0;
    // Only lines ended by a line feed are read; what follows the last one is ignored.
    for (std::string::size_type feed = text.find('\n'); feed != std::string::npos; feed = text.find('\n', start)) {
        std::string::size_type end = feed;
        if (end > start && text[end - 1] == '\r') {
            --end;
        }
        size_t length = end - start;
        char* line = new char[length + 1];
        ZeroFill(line, length + 1, PLX_HERE("InterpDirInfo"));
        if (length > 0) {
            CopyBytes(line, length + 1, text.data() + start, length, PLX_HERE("InterpDirInfo"));
        }
        line[length] = '\0';
        std::unique_ptr<TkFileInfo> info(InterpFileInfo(line, bAllEntries));
        delete[] line;
        if (info) {
            files.push_back(info.get());
            info.release();
        }
        start = feed + 1;
    }
}

TkFileInfo* InterpFileInfo(const char* line, bool bAllEntries)
{
    if (line == nullptr || *line == '\0') {
        return nullptr;
    }
    char* columns[kMaxColumns] = {};
    int count = 0;
    const size_t length = std::strlen(line);
    const bool digitLed = line[0] >= '0' && line[0] <= '9';
    size_t position = 0;
    for (;;) {
        size_t separator = position + std::strcspn(line + position, " \t");
        // The last column takes the rest of the line, so that Unix names (ninth column) and MS-DOS names
        // (fourth column of a digit-led line) may hold blanks.
        if (separator >= length || count == kMaxColumns - 1 || (count == 3 && digitLed)) {
            columns[count++] = NewColumn(line + position, length - position, true);
            break;
        }
        columns[count++] = NewColumn(line + position, separator - position, false);
        position = separator + 1;
        while (position < length && IsBlank(line[position])) {
            ++position;
        }
        if (position >= length) {
            break;
        }
    }

    TkFileInfo* info = nullptr;
    if (count == 4) {
        info = InterpWinFileInfo(columns);
    } else if (count == kMaxColumns) {
        info = InterpUnixFileInfo(columns, bAllEntries);
    }
    for (char* column : columns) {
        delete[] column;
    }
    return info;
}

TkFileInfo* InterpWinFileInfo(char* const* columns)
{
    if (IsDotEntry(columns[3])) {
        return nullptr;
    }
    TkFileInfo* info = new TkFileInfo();
    info->ucFileType = 1;
    info->strFileName = columns[3];
    // Kept as listed (for example "03-15-21 09:41AM"), unlike the Unix form.
    info->strFileTime = std::string(columns[0]) + " " + columns[1];
    if (std::strstr(columns[2], "DIR") != nullptr) {
        info->ucFileType = 1;
        info->strFileSize = "0";
    } else {
        info->ucFileType = 0;
        info->strFileSize = columns[2];
    }
    return info;
}

TkFileInfo* InterpUnixFileInfo(char* const* columns, bool bAllEntries)
{
    const char* permissions = columns[0];
    const char* name = columns[8];
    if (IsDotEntry(name)) {
        return nullptr;
    }
    if (!bAllEntries && IsNoReadWrite(permissions)) {
        return nullptr;
    }
    unsigned char type = 0;
    switch (permissions[0]) {
    case 'd': type = 1; break;
    case '-': type = 0; break;
    case 'l': type = 2; break;
    default: return nullptr;  // devices, pipes, sockets, total lines
    }
    TkFileInfo* info = new TkFileInfo();
    info->ucFileType = type;
    info->strFileSize = columns[4];
    info->strFileTime = GetFileDateTime(columns[5], columns[6], columns[7]);
    info->strFileName = name;
    if (type == 2) {
        const char* arrow = std::strstr(name, " -> ");
        if (arrow != nullptr) {
            info->strFileName.assign(name, static_cast<size_t>(arrow - name));
        }
    }
    return info;
}

std::string GetFileDateTime(const char* month, const char* day, const char* timeOrYear)
{
    if (month == nullptr && day == nullptr && timeOrYear == nullptr) {
        return std::string();
    }
    const char* monthText = month != nullptr ? month : "";
    const char* dayText = day != nullptr ? day : "";
    const char* lastText = timeOrYear != nullptr ? timeOrYear : "";

    const std::string monthCode = GetMonthNum(month);
    const bool hasTime = std::strchr(lastText, ':') != nullptr;
    unsigned int year = 0;
    unsigned int monthNum = 0;
    unsigned int dayNum = 0;
    unsigned int hour = 0;
    unsigned int minute = 0;
    bool inferYear = false;

    if (monthCode != "00") {
        monthNum = ToNumber(monthCode.c_str());
        dayNum = ToNumber(dayText);
        if (hasTime) {
            GetHourAndMin(lastText, hour, minute);
            inferYear = true;
        } else {
            year = ToNumber(lastText);
        }
    } else if (hasTime) {  // numeric "MM DD HH:MM"
        monthNum = ToNumber(monthText);
        dayNum = ToNumber(dayText);
        GetHourAndMin(lastText, hour, minute);
        inferYear = true;
    } else {  // numeric "YYYY MM DD"
        year = ToNumber(monthText);
        monthNum = ToNumber(dayText);
        dayNum = ToNumber(lastText);
    }

    if (inferYear || year == 0) {
        // A recent entry shows no year: it is this year unless its date lies ahead of today.
        time_t now = g_pfnClock(nullptr);
        tm local{};
        ACE_OS::localtime_r(&now, &local);
        const unsigned int thisMonth = static_cast<unsigned int>(local.tm_mon + 1);
        const unsigned int today = static_cast<unsigned int>(local.tm_mday);
        year = static_cast<unsigned int>(local.tm_year + 1900);
        if (monthNum > thisMonth || (monthNum == thisMonth && dayNum > today)) {
            year -= 1;
        }
    }

    char text[64];
    int written = std::snprintf(text, sizeof(text), "%04u-%02u-%02u", year, monthNum, dayNum);
    if (hour != 0 || minute != 0) {
        std::snprintf(text + written, sizeof(text) - static_cast<size_t>(written), " %02u:%02u", hour, minute);
    }
    return text;
}

std::string GetMonthNum(const char* month)
{
    static const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    if (month == nullptr) {
        return "00";
    }
    for (int index = 0; index < 12; ++index) {
        if (strncasecmp(month, kMonths[index], 3) == 0) {
            char code[3] = {static_cast<char>('0' + (index + 1) / 10), static_cast<char>('0' + (index + 1) % 10), '\0'};
            return code;
        }
    }
    return "00";
}

void GetHourAndMin(const char* szHM, unsigned int& hour, unsigned int& minute)
{
    if (szHM == nullptr) {
        LogProcess::Error(kNullTimeText, "szHM is null", PLX_HERE("GetHourAndMin"));
        return;
    }
    size_t length = std::strlen(szHM);
    char* copy = new char[length + 1];
    ZeroFill(copy, length + 1, PLX_HERE("GetHourAndMin"));
    if (length > 0) {
        CopyText(copy, length + 1, szHM, length, PLX_HERE("GetHourAndMin"));
    }
    char* colon = std::strchr(copy, ':');
    if (colon == nullptr) {
        hour = 0;
        minute = 0;
    } else {
        *colon = '\0';
        hour = ToNumber(copy);
        minute = ToNumber(colon + 1);
    }
    delete[] copy;
}

bool IsNoReadWrite(const char* permissions)
{
    if (permissions == nullptr || *permissions == '\0') {
        return true;
    }
    if (std::strchr(permissions + 1, 'r') != nullptr) {
        return false;
    }
    return std::strchr(permissions + 1, 'w') == nullptr;
}

} // namespace PLX_FTP_CLIENT
