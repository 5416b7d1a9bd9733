// How the library composes its log texts.
#include <gtest/gtest.h>

#include <locale>
#include <sstream>

#include "log.h"
#include "log_capture.h"

using namespace PLX_FTP_CLIENT;

namespace {

struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(IntToStrTest, NoDigitGroupingWhateverTheGlobalLocale)
{
    std::locale previous = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    std::ostringstream grouped;  // proves the global locale really groups
    grouped << 1234567;
    std::string text = IntToStr(1234567);
    std::string negative = IntToStr(-42);
    std::locale::global(previous);
    EXPECT_EQ("1,234,567", grouped.str());
    EXPECT_EQ("1234567", text);
    EXPECT_EQ("-42", negative);
}

TEST(LogTextTest, ErrorAndInfoCarryThePrefixDebugNever)
{
    plxtest::LogCapture logs;
    const char kLogFile[] = "ftpcommand";
    LogError(5, "text", PLX_HERE("Fn"));
    LogInfo("trace", PLX_HERE("Fn"));
    LogMemsetFailure(22, PLX_HERE("Fn"));
    LogMemcpyFailure(34, PLX_HERE("Fn"));
    LogStrncpyFailure(34, PLX_HERE("Fn"));
    std::vector<plxtest::LogLine> expected = {
        plxtest::Error(5, "FTPCLIENT_LOG:text", "ftpcommand", "Fn"),
        plxtest::Info("FTPCLIENT_LOG:trace", "ftpcommand", "Fn"),
        plxtest::Debug("Memset operation Failed !!! :22", "ftpcommand", "Fn"),
        plxtest::Debug("Memcpy operation Failed !!! :34", "ftpcommand", "Fn"),
        plxtest::Debug("Strncpy operation Failed !!! :34", "ftpcommand", "Fn"),
    };
    EXPECT_EQ(expected, logs.All());
    EXPECT_EQ("FTPCLIENT_LOG:", g_strLogPrefix);
    EXPECT_EQ("Call Function return Error:", g_strCallFuncError);
}

} // namespace
