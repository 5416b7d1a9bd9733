// The reply reader (GetRetCode), reply classification and the wildcard matcher.
#include <chrono>
#include <cstring>

#include "command_fixture.h"

using namespace PLX_FTP_CLIENT;
using namespace plxtest;

namespace {

using ReplyReaderTest = CommandTest;

TEST_F(ReplyReaderTest, MultiLineReplyInOneReceive)
{
    Connect();
    Ask("X", "220-Welcome\r\n220-second\r\n220 Ready\r\n");
    std::string reply;
    EXPECT_EQ(FTP_OK, cmd.GetRetCode(reply, 2));
    EXPECT_EQ("220-Welcome\r\n220-second\r\n220 Ready\r\n", reply);
    EXPECT_EQ(std::vector<LogLine>{ReplyTrace(0)}, logs.All());
}

TEST_F(ReplyReaderTest, MultiLineReplyInThreeReceives)
{
    Connect();
    Ask("X", Reply::Split({"220-Welcome\r\n", "220-second\r\n", "220 Ready\r\n"}, 150));
    std::string reply;
    EXPECT_EQ(FTP_OK, cmd.GetRetCode(reply, 2));
    EXPECT_EQ("220-Welcome\r\n220-second\r\n220 Ready\r\n", reply);
    EXPECT_EQ((std::vector<int>{0, 0, 0}), Traces());
}

TEST_F(ReplyReaderTest, FinalLineSplitAcrossReceivesIsJoined)
{
    Connect();
    Ask("X", Reply::Split({"22", "0 Ready\r\n"}, 150));
    std::string reply;
    EXPECT_EQ(FTP_OK, cmd.GetRetCode(reply, 2));
    EXPECT_EQ("220 Ready\r\n", reply);
}

TEST_F(ReplyReaderTest, LineFeedFirstJoinsAPendingLine)
{
    Connect();
    Ask("X", Reply::Split({"550 Failed\r", "\n"}, 150));
    std::string reply;
    EXPECT_EQ(FTP_ERR_REPLY_550, cmd.GetRetCode(reply, 2));
    EXPECT_EQ("550 Failed\r\n", reply);
}

TEST_F(ReplyReaderTest, LoneLineFeedWithNothingPendingCountsAsEmpty)
{
    Connect(1, 2, 1);
    Ask("X", Reply::Split({"\n", "200 ok\r\n"}, 300));
    std::string reply;
    EXPECT_EQ(FTP_OK, cmd.GetRetCode(reply, 2));
    EXPECT_EQ("200 ok\r\n", reply);
    EXPECT_EQ(std::vector<int>{0}, Traces());  // arrived on the first extra receive
}

TEST_F(ReplyReaderTest, ContinuationLinesAreCollectedAndTheFinalCodeDecides)
{
    Connect();
    Ask("X", "220-hello\r\n530 Not logged in.\r\n");
    std::string reply;
    EXPECT_EQ(FTP_ERR_REPLY_530, cmd.GetRetCode(reply, 2));
    EXPECT_EQ("220-hello\r\n530 Not logged in.\r\n", reply);
}

TEST_F(ReplyReaderTest, TwoRepliesInOneReceiveAreReadAsOne)
{
    Connect(1, 1, 1);
    Ask("X", "150 Opening\r\n226 Done\r\n");
    std::string reply;
    EXPECT_EQ(FTP_OK, cmd.GetRetCode(reply, 1));
    EXPECT_EQ("150 Opening\r\n226 Done\r\n", reply);
    // Nothing is left for a second read: the 226 went with the first.
    std::string second;
    EXPECT_EQ(FTP_ERR_BLANK_REPLY, cmd.GetRetCode(second, 1));
}

TEST_F(ReplyReaderTest, ReplyIsAppendedToWhatTheStringHeld)
{
    Connect();
    Ask("X", "200 ok\r\n");
    std::string reply = "before|";
    EXPECT_EQ(FTP_OK, cmd.GetRetCode(reply, 2));
    EXPECT_EQ("before|200 ok\r\n", reply);
}

TEST_F(ReplyReaderTest, LinesWithoutDigitsClassifyAsUnknown)
{
    Connect();
    Ask("X", "abc def\r\n");
    std::string reply;
    EXPECT_EQ(FTP_ERR_UNKNOWN_REPLY, cmd.GetRetCode(reply, 2));
}

struct Classified {
    const char* reply;
    unsigned int expected;
};

void PrintTo(const Classified& c, std::ostream* out) { *out << "\"" << c.reply << "\" -> 0x" << std::hex << c.expected; }

class ReplyCodeTest : public CommandTest, public testing::WithParamInterface<Classified> {};

TEST_P(ReplyCodeTest, ReplyClassifiesToItsCode)
{
    Connect();
    Ask("X", GetParam().reply);
    std::string reply;
    EXPECT_EQ(GetParam().expected, cmd.GetRetCode(reply, 2)) << GetParam().reply;
    EXPECT_EQ(GetParam().reply, reply);
}

INSTANTIATE_TEST_SUITE_P(
    EveryReachableRow, ReplyCodeTest,
    testing::Values(Classified{"110 restart\r\n", FTP_OK}, Classified{"220 ready\r\n", FTP_OK},
                    Classified{"331 password\r\n", FTP_OK}, Classified{"399 odd\r\n", FTP_OK},
                    Classified{"421 Service not available\r\n", FTP_ERR_REPLY_421},
                    Classified{"421 FTP server shutdown\r\n", FTP_ERR_SERVER_SHUTDOWN},
                    Classified{"425 Cannot open\r\n", FTP_ERR_REPLY_425},
                    Classified{"426 Aborted\r\n", FTP_ERR_REPLY_426},
                    Classified{"450 Busy\r\n", FTP_ERR_REPLY_450}, Classified{"451 Local error\r\n", FTP_ERR_REPLY_451},
                    Classified{"452 Full\r\n", FTP_ERR_REPLY_452}, Classified{"501 Syntax\r\n", FTP_ERR_REPLY_501},
                    Classified{"501 Permission denied\r\n", FTP_ERR_PERMISSION},
                    Classified{"521 Exists\r\n", FTP_ERR_REPLY_521},
                    Classified{"530 Login incorrect\r\n", FTP_ERR_REPLY_530},
                    Classified{"550 /x: No such file or directory\r\n", FTP_ERR_NO_SUCH_FILE},
                    Classified{"550 Permission denied\r\n", FTP_ERR_PERMISSION},
                    Classified{"550 Directory exists\r\n", FTP_ERR_REPLY_521},
                    Classified{"550 Failed\r\n", FTP_ERR_REPLY_550}, Classified{"552 Exceeded\r\n", FTP_ERR_REPLY_552},
                    Classified{"553 Not allowed\r\n", FTP_ERR_REPLY_553},
                    Classified{"500 Unknown command\r\n", FTP_ERR_UNKNOWN_REPLY},
                    Classified{"999 x\r\n", FTP_ERR_UNKNOWN_REPLY}, Classified{"099 x\r\n", FTP_ERR_UNKNOWN_REPLY},
                    Classified{"000 x\r\n", FTP_ERR_UNKNOWN_REPLY}));

TEST_F(ReplyReaderTest, SilentServerGivesUpAfterTheRetriesWithOneLogLine)
{
    Connect(1, 2, 1);
    auto start = std::chrono::steady_clock::now();
    std::string reply;
    EXPECT_EQ(FTP_ERR_BLANK_REPLY, cmd.GetRetCode(reply, 2));
    double took = SecondsSince(start);
    EXPECT_GE(took, 2.9);  // 1 + 1 + 1 seconds
    EXPECT_LT(took, 5.0);
    EXPECT_EQ(std::vector<LogLine>{Error(FTP_ERR_BLANK_REPLY,
                                         "FTPCLIENT_LOG:GetRetCode error : get response is blank line:",
                                         "ftpcommand", "GetRetCode")},
              logs.All());
    EXPECT_TRUE(reply.empty());
}

TEST_F(ReplyReaderTest, NoTriesMeansOneReceiveThen421)
{
    Connect(1, 0, 1);
    auto start = std::chrono::steady_clock::now();
    std::string reply;
    EXPECT_EQ(FTP_ERR_REPLY_421, cmd.GetRetCode(reply, 0));
    double took = SecondsSince(start);
    EXPECT_GE(took, 0.9);
    EXPECT_LT(took, 2.5);
    EXPECT_TRUE(logs.All().empty());
}

TEST_F(ReplyReaderTest, ReplyOnTheFirstExtraReceiveIsTracedAsZeroRetries)
{
    Connect(1, 2, 1);
    Ask("X", Reply().Pause(1400).Then("200 late\r\n"));
    std::string reply;
    EXPECT_EQ(FTP_OK, cmd.GetRetCode(reply, 2));
    EXPECT_EQ(std::vector<int>{0}, Traces());
}

TEST_F(ReplyReaderTest, ReplyOnTheSecondExtraReceiveIsTracedAsOneRetry)
{
    Connect(1, 3, 1);
    Ask("X", Reply().Pause(2400).Then("200 later\r\n"));
    std::string reply;
    EXPECT_EQ(FTP_OK, cmd.GetRetCode(reply, 3));
    EXPECT_EQ(std::vector<int>{1}, Traces());
}

TEST_F(ReplyReaderTest, FewerTriesThanTheSettingNeverGiveUp)
{
    // The give-up point is measured against the setting (2), never reached with 1 try: the reader starts over.
    Connect(1, 2, 1);
    Ask("X", Reply().Pause(2500).Then("200 finally\r\n"));
    std::string reply;
    EXPECT_EQ(FTP_OK, cmd.GetRetCode(reply, 1));
    EXPECT_EQ("200 finally\r\n", reply);
    std::vector<int> traces = Traces();
    ASSERT_GE(traces.size(), 2u);
    EXPECT_EQ(1, traces.front());  // the empty pass, traced with the try count
    EXPECT_EQ(0, traces.back());
    EXPECT_TRUE(logs.Errors().empty());
}

TEST_F(ReplyReaderTest, NoRetriesSettingWithTriesNeverGivesUp)
{
    Connect(1, 0, 1);
    Ask("X", Reply().Pause(2500).Then("200 finally\r\n"));
    std::string reply;
    EXPECT_EQ(FTP_OK, cmd.GetRetCode(reply, 1));
    EXPECT_TRUE(logs.Errors().empty());
}

TEST_F(ReplyReaderTest, ClosedConnectionReadsAsBlank)
{
    Connect(1, 2, 1);
    Ask("X", Reply::Close());
    auto start = std::chrono::steady_clock::now();
    std::string reply;
    EXPECT_EQ(FTP_ERR_BLANK_REPLY, cmd.GetRetCode(reply, 2));
    EXPECT_LT(SecondsSince(start), 1.0);  // a closed peer answers every receive at once
}

TEST_F(ReplyReaderTest, ReadReplyDiscardsTheText)
{
    Connect();
    Ask("X", "550 Failed\r\n");
    EXPECT_EQ(FTP_ERR_REPLY_550, cmd.ReadReply(2));
    Ask("Y", "200 ok\r\n");
    EXPECT_EQ(FTP_OK, cmd.ReadReply());
}

TEST_F(ReplyReaderTest, FailedBufferClearIsLoggedAndReadingGoesOn)
{
    Connect();
    Ask("X", "200 ok\r\n");
    faults->memsetResult = [](void* dest, size_t size, size_t) {
        std::memset(dest, 0, size);  // cleared after all, so the read itself is unaffected
        return 22;
    };
    std::string reply;
    EXPECT_EQ(FTP_OK, cmd.GetRetCode(reply, 2));
    faults->memsetResult = nullptr;
    std::vector<LogLine> expected = {Debug("Memset operation Failed !!! :22", "ftpcommand", "GetRetCode"),
                                     ReplyTrace(0)};
    EXPECT_EQ(expected, logs.All());
}

// ---- ClassifyReply ------------------------------------------------------------------------------------------------

TEST(ClassifyReplyTest, TwelveRowsMapToTheirCodes)
{
    EXPECT_EQ(FTP_ERR_REPLY_421, ClassifyReply(421, ""));
    EXPECT_EQ(FTP_ERR_REPLY_425, ClassifyReply(425, ""));
    EXPECT_EQ(FTP_ERR_REPLY_426, ClassifyReply(426, ""));
    EXPECT_EQ(FTP_ERR_REPLY_450, ClassifyReply(450, ""));
    EXPECT_EQ(FTP_ERR_REPLY_451, ClassifyReply(451, ""));
    EXPECT_EQ(FTP_ERR_REPLY_452, ClassifyReply(452, ""));
    EXPECT_EQ(FTP_ERR_REPLY_501, ClassifyReply(501, ""));
    EXPECT_EQ(0x3BB00016u, ClassifyReply(521, ""));
    EXPECT_EQ(0x3BB0001Au, ClassifyReply(530, ""));
    EXPECT_EQ(0x3BB00019u, ClassifyReply(550, ""));
    EXPECT_EQ(0x3BB00018u, ClassifyReply(552, ""));
    EXPECT_EQ(0x3BB00017u, ClassifyReply(553, ""));
    EXPECT_EQ(FTP_ERR_UNKNOWN_REPLY, ClassifyReply(500, ""));
    EXPECT_EQ(FTP_ERR_UNKNOWN_REPLY, ClassifyReply(0, ""));
    EXPECT_EQ(FTP_ERR_UNKNOWN_REPLY, ClassifyReply(-5, "x"));
}

TEST(ClassifyReplyTest, ShutdownNoticeWinsForAnyCode)
{
    EXPECT_EQ(FTP_ERR_SERVER_SHUTDOWN, ClassifyReply(550, "550 FTP server shutdown\r\n"));
    EXPECT_EQ(FTP_ERR_SERVER_SHUTDOWN, ClassifyReply(999, "999 the FTP test server is shutdown now"));
    EXPECT_EQ(FTP_ERR_REPLY_421, ClassifyReply(421, "421 ftp server shutdown"));  // case matters
}

TEST(ClassifyReplyTest, TextPatternsApplyTo501And550OnlyInTheirOrder)
{
    EXPECT_EQ(FTP_ERR_PERMISSION, ClassifyReply(550, "550 permission denied"));
    EXPECT_EQ(FTP_ERR_PERMISSION, ClassifyReply(550, "550 No such file or directory, Permission denied"));
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, ClassifyReply(550, "550 no such file or directory"));
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, ClassifyReply(501, "501 Can't open file"));
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, ClassifyReply(550, "550 Unknown directory"));
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, ClassifyReply(550, "550 Can't open file: it exists"));
    EXPECT_EQ(FTP_ERR_REPLY_521, ClassifyReply(501, "501 File exists"));
    EXPECT_EQ(FTP_ERR_REPLY_553, ClassifyReply(553, "553 No such file or directory"));
    EXPECT_EQ(FTP_ERR_REPLY_530, ClassifyReply(530, "530 Permission denied"));
    EXPECT_EQ(FTP_ERR_REPLY_550, ClassifyReply(550, "550 NO SUCH FILE OR DIRECTORY"));
}

// ---- WildcardMatch ------------------------------------------------------------------------------------------------

TEST(WildcardMatchTest, MatchesWholeTextCaseSensitively)
{
    EXPECT_EQ(1, WildcardMatch("abc", "abc"));
    EXPECT_EQ(0, WildcardMatch("abc", "ab"));
    EXPECT_EQ(0, WildcardMatch("ab", "abc"));
    EXPECT_EQ(0, WildcardMatch("ABC", "abc"));
    EXPECT_EQ(1, WildcardMatch("abc", "a?c"));
    EXPECT_EQ(0, WildcardMatch("ac", "a?c"));
    EXPECT_EQ(1, WildcardMatch("", ""));
    EXPECT_EQ(1, WildcardMatch("", "***"));
    EXPECT_EQ(0, WildcardMatch("", "?"));
}

TEST(WildcardMatchTest, StarMatchesAnyRunIncludingLineEnds)
{
    EXPECT_EQ(1, WildcardMatch("421 FTP server shutdown\r\n", "*FTP*server*shutdown*"));
    EXPECT_EQ(1, WildcardMatch("220-FTP\r\n220 server is going to shutdown\r\n", "*FTP*server*shutdown*"));
    EXPECT_EQ(0, WildcardMatch("FTP shutdown server", "*FTP*server*shutdown*"));
    EXPECT_EQ(1, WildcardMatch("aXbXc", "a*c"));
    EXPECT_EQ(1, WildcardMatch("abcabd", "*abd"));  // resumes one character further after a mismatch
    EXPECT_EQ(1, WildcardMatch("mississippi", "*sip*"));
    EXPECT_EQ(0, WildcardMatch("mississippi", "*sipx*"));
}

TEST(WildcardMatchTest, QuestionMarksAfterAStarAreSwallowed)
{
    EXPECT_EQ(1, WildcardMatch("b", "*?b"));     // the '?' needs no character of its own
    EXPECT_EQ(1, WildcardMatch("a", "*?"));
    EXPECT_EQ(1, WildcardMatch("xb", "*??b"));
    EXPECT_EQ(0, WildcardMatch("", "*?"));      // text used up: the rest must be '*' only
    EXPECT_EQ(0, WildcardMatch("a", "a*?"));
}

TEST(WildcardMatchTest, CheckedFormRefusesNullAndEmptyText)
{
    EXPECT_EQ(0, WildcardMatchChecked(nullptr, "*"));
    EXPECT_EQ(0, WildcardMatchChecked("a", nullptr));
    EXPECT_EQ(0, WildcardMatchChecked("", "*"));
    EXPECT_EQ(1, WildcardMatchChecked("abc", "a*"));
}

} // namespace
