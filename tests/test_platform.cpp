// The default platform layer: logging sink, character-set conversion, file opening, bounded-buffer functions.
#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

#include "BoundsChecked.h"
#include "LogProcess.h"
#include "OrkaCommonUtils.h"
#include "OrkaOS.h"

namespace {

struct Seen {
    LogLevel level;
    unsigned int code;
    std::string text;
    std::string file;
    std::string function;
    int line;
};

TEST(LogProcessTest, SinkReceivesEveryLevelWithCodeAndLocation)
{
    std::vector<Seen> seen;
    LogProcess::SetSink([&](LogLevel level, unsigned int code, const std::string& text, const LocationInfo& where) {
        seen.push_back({level, code, text, where.getFileName(), where.getMethodName(), where.getLineNumber()});
    });
    LogProcess::Error(7u, std::string("string text"), LocationInfo("f1", "fn1", 11));
    LogProcess::Error(8u, "c text", LocationInfo("f2", "fn2", 12));
    LogProcess::Debug("debug text", LocationInfo("f3", "fn3", 13));
    LogProcess::Info("info text", LocationInfo("f4", "fn4", 14));
    LogProcess::SetSink(nullptr);

    ASSERT_EQ(4u, seen.size());
    EXPECT_EQ(LogLevel::Error, seen[0].level);
    EXPECT_EQ(7u, seen[0].code);
    EXPECT_EQ("string text", seen[0].text);
    EXPECT_EQ("f1", seen[0].file);
    EXPECT_EQ("fn1", seen[0].function);
    EXPECT_EQ(11, seen[0].line);
    EXPECT_EQ(8u, seen[1].code);
    EXPECT_EQ("c text", seen[1].text);
    EXPECT_EQ(LogLevel::Debug, seen[2].level);
    EXPECT_EQ(0u, seen[2].code);
    EXPECT_EQ(LogLevel::Info, seen[3].level);
    EXPECT_EQ(0u, seen[3].code);
    EXPECT_EQ("info text", seen[3].text);
}

TEST(LogProcessTest, DefaultSinkWritesErrorsToStandardErrorAndDropsTheRest)
{
    LogProcess::SetSink(nullptr);
    testing::internal::CaptureStderr();
    LogProcess::Error(0x3BB00001u, std::string("boom"), LocationInfo("file", "func", 3));
    LogProcess::Debug("quiet debug", LocationInfo("file", "func", 4));
    LogProcess::Info("quiet info", LocationInfo("file", "func", 5));
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_NE(std::string::npos, err.find("boom"));
    EXPECT_NE(std::string::npos, err.find("0x3BB00001"));
    EXPECT_EQ(std::string::npos, err.find("quiet"));
}

TEST(LocationInfoTest, KeepsItsThreeValues)
{
    LocationInfo where("ftpcommand", "GetRetCode", 42);
    EXPECT_STREQ("ftpcommand", where.getFileName());
    EXPECT_STREQ("GetRetCode", where.getMethodName());
    EXPECT_EQ(42, where.getLineNumber());
}

TEST(BoundsCheckedTest, MemsetFillsAndRefusesBadArguments)
{
    char buf[8];
    std::memset(buf, 'x', sizeof(buf));
    EXPECT_EQ(0, memset_s(buf, sizeof(buf), 'a', 4));
    EXPECT_EQ(std::string("aaaaxxxx"), std::string(buf, 8));
    EXPECT_EQ(22, memset_s(nullptr, 8, 0, 8));
    EXPECT_EQ(22, memset_s(buf, 0, 0, 0));
    EXPECT_EQ(34, memset_s(buf, sizeof(buf), 'b', 9));
    EXPECT_EQ(std::string(8, '\0'), std::string(buf, 8));  // cleared on overflow
}

TEST(BoundsCheckedTest, MemcpyCopiesAndRefusesOverflow)
{
    char buf[4] = {'x', 'x', 'x', 'x'};
    EXPECT_EQ(0, memcpy_s(buf, sizeof(buf), "ab", 2));
    EXPECT_EQ(std::string("abxx"), std::string(buf, 4));
    EXPECT_EQ(34, memcpy_s(buf, sizeof(buf), "abcde", 5));
    EXPECT_EQ(std::string(4, '\0'), std::string(buf, 4));
    EXPECT_EQ(22, memcpy_s(nullptr, 4, "a", 1));
    EXPECT_EQ(22, memcpy_s(buf, 0, "a", 1));
    EXPECT_EQ(22, memcpy_s(buf, 4, nullptr, 1));
}

TEST(BoundsCheckedTest, StrncpyCopiesTerminatedAndRefusesWhatDoesNotFit)
{
    char buf[4];
    EXPECT_EQ(0, strncpy_s(buf, sizeof(buf), "abcdef", 3));
    EXPECT_STREQ("abc", buf);
    EXPECT_EQ(0, strncpy_s(buf, sizeof(buf), "a", 3));
    EXPECT_STREQ("a", buf);
    EXPECT_EQ(0, strncpy_s(buf, sizeof(buf), "xyz", 0));
    EXPECT_STREQ("", buf);
    EXPECT_EQ(34, strncpy_s(buf, sizeof(buf), "abcdef", 4));
    EXPECT_EQ(std::string(4, '\0'), std::string(buf, 4));
    EXPECT_EQ(22, strncpy_s(nullptr, 4, "a", 1));
    EXPECT_EQ(22, strncpy_s(buf, 0, "a", 1));
}

TEST(BoundsCheckedTest, SnprintfFormatsAndFailsWhenTheOutputIsTooLong)
{
    char buf[10];
    EXPECT_EQ(9, snprintf_s(buf, sizeof(buf), sizeof(buf) - 1, "USER %s", "abcd"));
    EXPECT_STREQ("USER abcd", buf);
    errno = 0;
    EXPECT_EQ(-1, snprintf_s(buf, sizeof(buf), sizeof(buf) - 1, "USER %s", "abcde"));
    EXPECT_STREQ("USER abcd", buf);  // truncated at count and terminated
    EXPECT_EQ(ERANGE, errno);
    EXPECT_EQ(-1, snprintf_s(buf, sizeof(buf), 3, "%s", "abcdef"));
    EXPECT_STREQ("abc", buf);
    errno = 0;
    EXPECT_EQ(-1, snprintf_s(nullptr, 10, 9, "%s", "a"));
    EXPECT_EQ(EINVAL, errno);
    errno = 0;
    EXPECT_EQ(-1, snprintf_s(buf, 0, 0, "%s", "a"));
    EXPECT_EQ(EINVAL, errno);
}

class LocaleTest : public testing::Test {
protected:
    void TearDown() override { std::setlocale(LC_CTYPE, "C"); }
};

TEST_F(LocaleTest, ConversionIsIdentityWhenTheLocaleIsUtf8)
{
    ASSERT_NE(nullptr, std::setlocale(LC_CTYPE, "C.UTF-8"));
    EXPECT_EQ("\xC3\xBCmlaut", OrkaCommonUtils::UTF8TOLOC("\xC3\xBCmlaut"));
    EXPECT_EQ("\xC3\xBCmlaut", OrkaCommonUtils::LOC2UTF8("\xC3\xBCmlaut"));
}

TEST_F(LocaleTest, UnconvertibleTextComesBackUnchangedAndNullGivesEmpty)
{
    ASSERT_NE(nullptr, std::setlocale(LC_CTYPE, "C"));  // ASCII: no umlaut there
    EXPECT_EQ("\xC3\xBCmlaut", OrkaCommonUtils::UTF8TOLOC("\xC3\xBCmlaut"));
    EXPECT_EQ("plain", OrkaCommonUtils::UTF8TOLOC("plain"));
    EXPECT_EQ("", OrkaCommonUtils::UTF8TOLOC(nullptr));
    EXPECT_EQ("", OrkaCommonUtils::LOC2UTF8(nullptr));
}

TEST(OrkaOsTest, OpensAndCreatesFilesAndFailsWithNull)
{
    std::string path = testing::TempDir() + "plx_orka_os_" + std::to_string(getpid());
    FILE* out = ORKA_OS::fopen(path.c_str(), "wb", "UTF-8");
    ASSERT_NE(nullptr, out);
    std::fputs("hello", out);
    std::fclose(out);
    FILE* in = ORKA_OS::fopen(path.c_str(), "rb", "UTF-8");
    ASSERT_NE(nullptr, in);
    char buf[8] = {};
    EXPECT_EQ(5u, std::fread(buf, 1, sizeof(buf), in));
    std::fclose(in);
    EXPECT_STREQ("hello", buf);
    std::remove(path.c_str());
    EXPECT_EQ(nullptr, ORKA_OS::fopen((path + "/missing/x").c_str(), "rb", "UTF-8"));
    EXPECT_EQ(nullptr, ORKA_OS::fopen(nullptr, "rb", "UTF-8"));
}

} // namespace
