// The listing parser: LIST text to TkFileInfo records, with a fixed clock for the year of recent entries.
#include <gtest/gtest.h>

#include <ctime>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "owned_records.h"
#include "ftpclientImpl.h"
#include "log_capture.h"
#include "platform_overrides.h"

using namespace PLX_FTP_CLIENT;
using namespace plxtest;

namespace {

// ---- A fixed "now" for the parser ---------------------------------------------------------------------------------

time_t g_now = 0;
time_t FixedClock(time_t* out)
{
    if (out != nullptr) {
        *out = g_now;
    }
    return g_now;
}

time_t LocalTime(int year, int month, int day, int hour = 12, int minute = 0)
{
    tm when{};
    when.tm_year = year - 1900;
    when.tm_mon = month - 1;
    when.tm_mday = day;
    when.tm_hour = hour;
    when.tm_min = minute;
    when.tm_isdst = -1;
    return mktime(&when);
}

class ClockedTest : public testing::Test {
protected:
    void SetUp() override { At(2026, 11, 21); }
    void TearDown() override { SetListingClock(nullptr); }
    static void At(int year, int month, int day, int hour = 12)
    {
        g_now = LocalTime(year, month, day, hour);
        SetListingClock(&FixedClock);
    }
};

// ---- Records ------------------------------------------------------------------------------------------------------

struct Expected {
    bool present;
    std::string name;
    std::string time;
    std::string size;
    int type;
};

const Expected kNone{false, "", "", "", 0};
Expected File(const std::string& name, const std::string& time, const std::string& size)
{
    return {true, name, time, size, 0};
}
Expected Dir(const std::string& name, const std::string& time, const std::string& size)
{
    return {true, name, time, size, 1};
}
Expected Link(const std::string& name, const std::string& time, const std::string& size)
{
    return {true, name, time, size, 2};
}

void ExpectRecord(const Expected& expected, const TkFileInfo* info, const std::string& context)
{
    if (!expected.present) {
        EXPECT_EQ(nullptr, info) << context;
        return;
    }
    ASSERT_NE(nullptr, info) << context;
    EXPECT_EQ(expected.name, info->strFileName) << context;
    EXPECT_EQ(expected.time, info->strFileTime) << context;
    EXPECT_EQ(expected.size, info->strFileSize) << context;
    EXPECT_EQ(expected.type, info->ucFileType) << context;
}

// ---- One line at a time, as real servers send them (now: 2026-11-21 12:00 local) ---------------------------------

struct LineCase {
    const char* what;
    std::string line;
    bool allEntries;
    Expected expected;
};

std::vector<LineCase> Lines()
{
    return {
        // GNU ls
        {"gnu file recent", "-rw-r--r-- 1 user group 1234 Nov 20 10:15 report.txt", false,
         File("report.txt", "2026-11-20 10:15", "1234")},
        {"gnu dir old", "drwxr-xr-x 2 user group 4096 Jan 15  2024 archive", false,
         Dir("archive", "2024-01-15", "4096")},
        {"gnu link today", "lrwxrwxrwx 1 user group 11 Nov 21 08:00 current -> release-1.2", false,
         Link("current", "2026-11-21 08:00", "11")},
        {"later month is last year", "-rw------- 1 user group 0 Dec  1 09:00 future.txt", false,
         File("future.txt", "2025-12-01 09:00", "0")},
        {"tomorrow is last year", "-rw-r--r-- 1 user group 77 Nov 22 01:02 tomorrow", false,
         File("tomorrow", "2025-11-22 01:02", "77")},
        {"today late is this year", "-rw-r--r-- 1 user group 77 Nov 21 23:59 today", false,
         File("today", "2026-11-21 23:59", "77")},
        {"midnight shows the date only", "-rw-r--r-- 1 user group 10 Jan  1 00:00 midnight", false,
         File("midnight", "2026-01-01", "10")},
        {"leap day", "-rw-r--r-- 1 user group 10 Feb 29  2024 leap", false, File("leap", "2024-02-29", "10")},
        {"total line", "total 24", false, kNone},
        {"dot", "drwxr-xr-x 5 user group 4096 Nov 21 09:00 .", false, kNone},
        {"dot dot", "drwxr-xr-x 5 user group 4096 Nov 21 09:00 ..", true, kNone},
        {"dot name", "-rw-r--r-- 1 user group 1 Nov 21 09:00 .hidden", false,
         File(".hidden", "2026-11-21 09:00", "1")},
        {"blanks inside a name", "-rw-r--r-- 1 user group 10 Jan  1  2020 name with  two  blanks", false,
         File("name with  two  blanks", "2020-01-01", "10")},
        {"executable", "-rwxr-xr-x 1 user group 8192 Aug 30  2019 run.sh", false, File("run.sh", "2019-08-30", "8192")},
        {"character device", "crw-rw-rw- 1 root root 1, 3 Jan  1  2020 null", true, kNone},
        {"block device", "brw-rw---- 1 root disk 8, 0 Jan  1  2020 sda", true, kNone},
        {"socket", "srwxrwxrwx 1 root root 0 Jan  1  2020 socket", true, kNone},
        {"pipe", "prw-r--r-- 1 root root 0 Jan  1  2020 pipe", true, kNone},
        {"no permissions, filtered", "---------- 1 a b 0 Jan  1  2020 x", false, kNone},
        {"no permissions, all entries", "---------- 1 a b 0 Jan  1  2020 x", true, File("x", "2020-01-01", "0")},
        {"write only", "--w------- 1 a b 0 Jan  1  2020 x", false, File("x", "2020-01-01", "0")},
        {"write only, all entries", "--w------- 1 a b 0 Jan  1  2020 x", true, File("x", "2020-01-01", "0")},
        {"drop box", "d-wx------ 1 a b 0 Jan  1  2020 dropbox", false, Dir("dropbox", "2020-01-01", "0")},
        {"read only owner", "-r-------- 1 a b 1 Jan  1  2020 ro", false, File("ro", "2020-01-01", "1")},
        {"closed dir, all entries", "d--------- 1 a b 1 Jan  1  2020 closeddir", true,
         Dir("closeddir", "2020-01-01", "1")},
        {"closed link, filtered", "l--------- 1 a b 4 Jan  1  2020 l -> t", false, kNone},
        {"closed link, all entries", "l--------- 1 a b 4 Jan  1  2020 l -> t", true, Link("l", "2020-01-01", "4")},
        {"link without target", "lrwxrwxrwx 1 a b 4 Jan  1  2020 nolink", false, Link("nolink", "2020-01-01", "4")},
        {"link chain cut at the first arrow", "lrwxrwxrwx 1 a b 4 Jan  1  2020 a -> b -> c", false,
         Link("a", "2020-01-01", "4")},
        {"arrow without blanks is part of the name", "lrwxrwxrwx 1 a b 4 Jan  1  2020 x->y", false,
         Link("x->y", "2020-01-01", "4")},
        {"link to a name with a blank", "lrwxrwxrwx 1 a b 7 Nov 21 09:04 linkdir -> sub dir", false,
         Link("linkdir", "2026-11-21 09:04", "7")},
        {"file with arrow keeps it", "-rw-r--r-- 1 a b 4 Jan  1  2020 a -> b", false,
         File("a -> b", "2020-01-01", "4")},
        {"upper-case month", "-rw-r--r-- 1 a b 10 JAN  1  2020 upper", false, File("upper", "2020-01-01", "10")},
        {"long month name", "-rw-r--r-- 1 a b 10 January 1 2020 long", false, File("long", "2020-01-01", "10")},
        {"unknown month read as numbers", "-rw-r--r-- 1 a b 10 Foo 1 2020 nomonth", false,
         File("nomonth", "2026-01-2020", "10")},
        {"numeric year month day", "-rw-r--r-- 1 a b 10 2021 03 04 numeric", false,
         File("numeric", "2021-03-04", "10")},
        {"numeric month day time", "-rw-r--r-- 1 a b 10 03 04 05:06 numtime", false,
         File("numtime", "2026-03-04 05:06", "10")},
        {"numeric later month", "-rw-r--r-- 1 a b 10 12 25 05:06 xmas", false, File("xmas", "2025-12-25 05:06", "10")},
        {"year zero is inferred", "-rw-r--r-- 1 a b 10 Jan  2 0 zeroyear", false, File("zeroyear", "2026-01-02", "10")},
        {"short time", "-rw-r--r-- 1 a b 10 Jan  2 9:5 short", false, File("short", "2026-01-02 09:05", "10")},
        {"time with seconds", "-rw-r--r-- 1 a b 10 Jan  2 10:30:15 secs", false,
         File("secs", "2026-01-02 10:30", "10")},
        {"wide day written in full", "-rw-r--r-- 1 a b 1 Jan 123  2020 wide", false, File("wide", "2020-01-123", "1")},
        {"new year's eve last year", "-rw-r--r-- 1 a b 1 Dec 31 23:59 nye", false, File("nye", "2025-12-31 23:59", "1")},
        {"september", "-rw-r--r-- 1 a b 1 Sep  9  2009 sep", false, File("sep", "2009-09-09", "1")},
        {"huge size kept as text", "-rw-r--r-- 1 a b 99999999999999 Jan  1  2020 huge", false,
         File("huge", "2020-01-01", "99999999999999")},
        // BusyBox
        {"busybox file", "-rw-r--r--    1 0        0             1234 Nov 21 10:00 busybox.txt", false,
         File("busybox.txt", "2026-11-21 10:00", "1234")},
        {"busybox dir", "drwxr-xr-x    2 0        0                0 Nov 21 10:00 bbdir", false,
         Dir("bbdir", "2026-11-21 10:00", "0")},
        // vsftpd, proftpd, pure-ftpd, pyftpdlib
        {"vsftpd numeric owners", "-rw-r--r--    1 1001     1001       123456 Dec 31  2020 big file.bin", false,
         File("big file.bin", "2020-12-31", "123456")},
        {"proftpd closed dir", "d---------   2 benchuser nogroup      4096 Nov 21 09:04 emptydir", false, kNone},
        {"pure-ftpd file", "-rw-r--r--    1 65534      nogroup             5 Nov 21 09:04 plain.txt", false,
         File("plain.txt", "2026-11-21 09:04", "5")},
        {"pyftpdlib two-digit day", "-rw-r--r--   1 root     root            0 Mar 05  2019 zero.bin", false,
         File("zero.bin", "2019-03-05", "0")},
        {"name's leading blank is lost", "-rw-r--r-- 1 a b 1 Nov 21 09:04  leading.txt", false,
         File("leading.txt", "2026-11-21 09:04", "1")},
        {"utf-8 name", "-rw-r--r-- 1 a b 1 Nov 21 09:04 \xc3\xbcmlaut.txt", false,
         File("\xc3\xbcmlaut.txt", "2026-11-21 09:04", "1")},
        {"unusual bytes kept", "-rw-r--r-- 1 a b 1 Nov 21 09:04 we\xffird\x01name", false,
         File("we\xffird\x01name", "2026-11-21 09:04", "1")},
        {"carriage return inside a name", "-rw-r--r-- 1 a b 1 Jan  1  2020 cr\rname", false,
         File("cr\rname", "2020-01-01", "1")},
        {"tabs separate columns", "-rw-r--r--\t1\ta\tb\t10\tJan\t1\t2020\ttabbed name", false,
         File("tabbed name", "2020-01-01", "10")},
        {"trailing blanks stay in the name", "drwxr-xr-x 2 a b 4096 Jan  1  2020 trail  ", false,
         Dir("trail  ", "2020-01-01", "4096")},
        {"eight columns", "-rw-r--r-- 1 owner 10 Jan  1  2020 eight", false, kNone},
        {"eight columns and trailing blanks", "-rw-r--r-- 1 owner 10 Jan  1  2020 eight   ", false, kNone},
        {"eight columns with a blank in the name read by position", "-rw-r--r-- 1 owner 10 Jan 1 2020 eight cols",
         false, File("cols", "0001-2020-00", "Jan")},
        {"leading blank gives an empty first column", " -rw-r--r-- 1 a b 10 Jan 1 2020 lead", true, kNone},
        {"empty line", "", true, kNone},
        {"two columns", "a b", true, kNone},
        {"five columns", "a b c d e", true, kNone},
        // MS-DOS
        {"dos dir", "03-15-21  09:41AM       <DIR>          Program Files", false,
         Dir("Program Files", "03-15-21 09:41AM", "0")},
        {"dos file", "03-15-21  09:41AM            1024 a b.txt", false, File("a b.txt", "03-15-21 09:41AM", "1024")},
        {"dos dot", "03-15-21  09:41AM       <DIR>          .", false, kNone},
        {"dos dot dot", "03-15-21  09:41AM       <DIR>          ..", true, kNone},
        {"dos 24-hour", "11-21-2026  14:05       <DIR>          logs", false, Dir("logs", "11-21-2026 14:05", "0")},
        {"dos lower-case dir mark is a size", "03-15-21  09:41AM       <dir>          low", false,
         File("low", "03-15-21 09:41AM", "<dir>")},
        {"dos name after many blanks", "03-15-21  09:41AM  123       spaced  name", false,
         File("spaced  name", "03-15-21 09:41AM", "123")},
        {"four columns not digit-led", "alpha beta gamma delta", false, File("delta", "alpha beta", "gamma")},
        {"digit-led line stops at four columns", "12 a b c d e f g h", false, File("c d e f g h", "12 a", "b")},
        {"DIR anywhere in the third column", "x y xDIRx z", false, Dir("z", "x y", "0")},
        {"dos permissions never filter", "03-15-21  09:41AM            0 ----------", false,
         File("----------", "03-15-21 09:41AM", "0")},
    };
}

class LineTableTest : public ClockedTest {};

TEST_F(LineTableTest, EveryLineGivesItsRecord)
{
    std::vector<LineCase> cases = Lines();
    EXPECT_GE(cases.size(), 60u);
    for (const LineCase& c : cases) {
        std::unique_ptr<TkFileInfo> info(InterpFileInfo(c.line.c_str(), c.allEntries));
        ExpectRecord(c.expected, info.get(), c.what);
    }
}

TEST_F(LineTableTest, TheWholeTableAsOneListingGivesTheRecordsInOrder)
{
    for (const char* ending : {"\r\n", "\n"}) {
        std::string text;
        std::vector<Expected> expected;
        for (const LineCase& c : Lines()) {
            if (c.allEntries || c.line.find('\r') != std::string::npos) {
                continue;  // one flag for the whole listing; bare CRs are covered below
            }
            text += c.line + ending;
            if (c.expected.present) {
                expected.push_back(c.expected);
            }
        }
        OwnedRecords out;
        InterpDirInfo(text, false, out.items);
        ASSERT_EQ(expected.size(), out.items.size()) << "ending " << (ending[0] == '\r' ? "CRLF" : "LF");
        for (size_t i = 0; i < expected.size(); ++i) {
            ExpectRecord(expected[i], out.items[i], "record " + std::to_string(i));
        }
    }
}

// ---- Line splitting -----------------------------------------------------------------------------------------------

class SplittingTest : public ClockedTest {};

TEST_F(SplittingTest, EmptyTextOrTextWithoutLineFeedYieldsNothing)
{
    OwnedRecords out;
    InterpDirInfo("", false, out.items);
    InterpDirInfo("-rw-r--r-- 1 a b 10 Jan 1 2020 complete-but-unterminated", false, out.items);
    EXPECT_TRUE(out.items.empty());
}

TEST_F(SplittingTest, LastLineWithoutLineFeedIsIgnored)
{
    OwnedRecords out;
    InterpDirInfo("-rw-r--r-- 1 a b 1 Jan 1 2020 one\r\n-rw-r--r-- 1 a b 2 Jan 1 2020 two", false, out.items);
    ASSERT_EQ(1u, out.items.size());
    EXPECT_EQ("one", out.items[0]->strFileName);
}

TEST_F(SplittingTest, OnlyTheCarriageReturnBeforeTheLineFeedIsDropped)
{
    OwnedRecords out;
    InterpDirInfo("-rw-r--r-- 1 a b 1 Jan 1 2020 a\r\r\n-rw-r--r-- 1 a b 1 Jan 1 2020 b\n\n", false, out.items);
    ASSERT_EQ(2u, out.items.size());
    EXPECT_EQ("a\r", out.items[0]->strFileName);
    EXPECT_EQ("b", out.items[1]->strFileName);
}

TEST_F(SplittingTest, TotalLineYieldsNothing)
{
    OwnedRecords out;
    InterpDirInfo("total 24\r\n", false, out.items);
    EXPECT_TRUE(out.items.empty());
}

TEST_F(SplittingTest, RecordsAreAppendedBehindWhatTheVectorHeld)
{
    OwnedRecords out;
    out.items.push_back(new TkFileInfo());
    out.items[0]->strFileName = "earlier";
    InterpDirInfo("-rw-r--r-- 1 a b 1 Jan 1 2020 later\r\n", false, out.items);
    ASSERT_EQ(2u, out.items.size());
    EXPECT_EQ("earlier", out.items[0]->strFileName);
    EXPECT_EQ("later", out.items[1]->strFileName);
}

TEST_F(SplittingTest, NulByteEndsItsLine)
{
    OwnedRecords out;
    InterpDirInfo(std::string("-rw-r--r-- 1 a b 1 Jan 1 2020 cut\0here\r\n", 41), false, out.items);
    ASSERT_EQ(1u, out.items.size());
    EXPECT_EQ("cut", out.items[0]->strFileName);
}

TEST_F(SplittingTest, FailedCopyIsLoggedAndTheLineParsedAsItStands)
{
    ScopedFaults faults;
    LogCapture logs;
    faults->memcpyResult = [](void*, size_t, size_t) { return 34; };
    OwnedRecords out;
    InterpDirInfo("-rw-r--r-- 1 a b 1 Jan 1 2020 x\r\n", false, out.items);
    faults->memcpyResult = nullptr;
    EXPECT_TRUE(out.items.empty());  // the line buffer stayed cleared
    ASSERT_FALSE(logs.All().empty());
    EXPECT_EQ(Debug("Memcpy operation Failed !!! :34", "ftpclientImpl", "InterpDirInfo"), logs.All()[0]);
}

// ---- Real servers' listings ---------------------------------------------------------------------------------------

std::string Listing(const std::string& server)
{
    std::ifstream in(std::string(PLX_TEST_DIR) + "/data/listings/" + server + ".txt", std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

class RealListingTest : public ClockedTest, public testing::WithParamInterface<const char*> {};

TEST_P(RealListingTest, EntriesAsTheServerListedThem)
{
    const std::string server = GetParam();
    std::string text = Listing(server);
    ASSERT_FALSE(text.empty()) << server;
    std::string today = server == std::string("pyftpdlib") ? "2026-11-21 09:05" : "2026-11-21 09:04";

    std::vector<Expected> expected = {File("leading.txt", today, "1")};
    if (server == std::string("pyftpdlib")) {
        expected.push_back(File(".hidden", today, "1"));
    }
    expected.push_back(File("big file.bin", "2020-12-31", "123456"));
    // emptydir (----------) is left out, and so is the fifo
    expected.push_back(Link("link.txt", today, "9"));
    expected.push_back(Link("linkdir", today, "7"));
    expected.push_back(File("plain.txt", today, "5"));
    expected.push_back(Dir("sub dir", today, "4096"));
    expected.push_back(File("zero.bin", "2019-03-05", "0"));
    expected.push_back(File("\xc3\xbcmlaut.txt", today, "1"));

    OwnedRecords out;
    InterpDirInfo(text, false, out.items);
    ASSERT_EQ(expected.size(), out.items.size()) << server;
    for (size_t i = 0; i < expected.size(); ++i) {
        ExpectRecord(expected[i], out.items[i], server + " record " + std::to_string(i));
    }

    OwnedRecords all;
    InterpDirInfo(text, true, all.items);
    ASSERT_EQ(expected.size() + 1, all.items.size()) << server;  // emptydir joins; the fifo never does
    bool sawEmptyDir = false;
    for (const TkFileInfo* info : all.items) {
        if (info->strFileName == "emptydir") {
            sawEmptyDir = true;
            EXPECT_EQ(1, info->ucFileType);
        }
    }
    EXPECT_TRUE(sawEmptyDir);
}

INSTANTIATE_TEST_SUITE_P(Servers, RealListingTest, testing::Values("vsftpd", "proftpd", "pureftpd", "pyftpdlib"));

// ---- Year inference -----------------------------------------------------------------------------------------------

TEST_F(ClockedTest, YearIsThisYearUpToTodayAndLastYearAfter)
{
    At(2026, 3, 5, 0);  // just after midnight: the time of day plays no part
    EXPECT_EQ("2026-03-05 10:30", GetFileDateTime("Mar", "5", "10:30"));   // today
    EXPECT_EQ("2025-03-06 10:30", GetFileDateTime("Mar", "6", "10:30"));   // tomorrow
    EXPECT_EQ("2026-03-04 10:30", GetFileDateTime("Mar", "4", "10:30"));   // yesterday
    EXPECT_EQ("2025-04-01 10:30", GetFileDateTime("Apr", "1", "10:30"));   // a later month
    EXPECT_EQ("2026-02-28 10:30", GetFileDateTime("Feb", "28", "10:30"));  // an earlier month
    EXPECT_EQ("2026-03-05", GetFileDateTime("Mar", "5", "00:00"));         // midnight: the date alone
}

TEST_F(ClockedTest, NewYearsDayTurnsDecemberIntoLastYear)
{
    At(2027, 1, 1);
    EXPECT_EQ("2026-12-31 23:59", GetFileDateTime("Dec", "31", "23:59"));
    EXPECT_EQ("2027-01-01 00:01", GetFileDateTime("Jan", "1", "00:01"));
}

TEST(RealClockTest, RecentEntriesFollowTodaysDate)
{
    SetListingClock(nullptr);
    time_t now = time(nullptr);
    tm today{};
    localtime_r(&now, &today);
    const int year = today.tm_year + 1900;
    const int month = today.tm_mon + 1;
    const int day = today.tm_mday;
    static const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (int m = 1; m <= 12; ++m) {
        for (int d : {1, 15, 28}) {
            int expectedYear = (m > month || (m == month && d > day)) ? year - 1 : year;
            char expected[64];
            std::snprintf(expected, sizeof(expected), "%04d-%02d-%02d 12:34", expectedYear, m, d);
            EXPECT_EQ(expected, GetFileDateTime(kMonths[m - 1], std::to_string(d).c_str(), "12:34"));
        }
    }
    char todayText[64];
    std::snprintf(todayText, sizeof(todayText), "%04d-%02d-%02d 12:34", year, month, day);
    EXPECT_EQ(todayText, GetFileDateTime(kMonths[month - 1], std::to_string(day).c_str(), "12:34"));
}

// ---- The helpers --------------------------------------------------------------------------------------------------

TEST(MonthTest, FirstThreeLettersCaseInsensitively)
{
    EXPECT_EQ("01", GetMonthNum("JAN"));
    EXPECT_EQ("01", GetMonthNum("January"));
    EXPECT_EQ("01", GetMonthNum("jan"));
    EXPECT_EQ("12", GetMonthNum("Dec"));
    EXPECT_EQ("09", GetMonthNum("sEPTEMBER"));
    EXPECT_EQ("00", GetMonthNum("Ja"));
    EXPECT_EQ("00", GetMonthNum("Foo"));
    EXPECT_EQ("00", GetMonthNum(""));
    EXPECT_EQ("00", GetMonthNum(nullptr));
}

TEST(HourAndMinuteTest, SplitAtTheFirstColon)
{
    unsigned int hour = 99;
    unsigned int minute = 99;
    GetHourAndMin("9:5", hour, minute);
    EXPECT_EQ(9u, hour);
    EXPECT_EQ(5u, minute);
    GetHourAndMin("10:30:15", hour, minute);
    EXPECT_EQ(10u, hour);
    EXPECT_EQ(30u, minute);
    GetHourAndMin("2020", hour, minute);
    EXPECT_EQ(0u, hour);
    EXPECT_EQ(0u, minute);
    GetHourAndMin("", hour, minute);
    EXPECT_EQ(0u, hour);
    EXPECT_EQ(0u, minute);
}

TEST(HourAndMinuteTest, NullTextIsLoggedAndLeavesTheOutputs)
{
    LogCapture logs;
    unsigned int hour = 7;
    unsigned int minute = 8;
    GetHourAndMin(nullptr, hour, minute);
    EXPECT_EQ(7u, hour);
    EXPECT_EQ(8u, minute);
    EXPECT_EQ(std::vector<LogLine>{Error(0x39000016, "szHM is null", "ftpclientImpl", "GetHourAndMin")}, logs.All());
}

TEST(DateTimeTest, NoColumnsGiveAnEmptyText)
{
    EXPECT_EQ("", GetFileDateTime(nullptr, nullptr, nullptr));
}

TEST(PermissionTest, DroppedOnlyWithoutAnyReadOrWriteLetter)
{
    EXPECT_TRUE(IsNoReadWrite(nullptr));
    EXPECT_TRUE(IsNoReadWrite(""));
    EXPECT_TRUE(IsNoReadWrite("----------"));
    EXPECT_TRUE(IsNoReadWrite("d--x--x--x"));
    EXPECT_TRUE(IsNoReadWrite("r---------"));  // the first character is the type, not a permission
    EXPECT_FALSE(IsNoReadWrite("-r--------"));
    EXPECT_FALSE(IsNoReadWrite("--w-------"));
    EXPECT_FALSE(IsNoReadWrite("-------r--"));
    EXPECT_FALSE(IsNoReadWrite("--------w-"));
}

} // namespace
