// The file and directory commands: TYPE, RETR, DELE, CWD, LIST, STOR, MKD, RMD, and splitting paths.
#include <cerrno>
#include <cstring>

#include "command_fixture.h"

using namespace PLX_FTP_CLIENT;
using namespace plxtest;

namespace {

using FileCommandTest = CommandTest;

TEST_F(FileCommandTest, TypeSendsAForNonZeroAndIForZero)
{
    Connect();
    EXPECT_EQ(FTP_OK, cmd.Ftp_type(1));
    EXPECT_EQ(FTP_OK, cmd.Ftp_type(0));
    EXPECT_EQ(FTP_OK, cmd.Ftp_type(-7));
    EXPECT_EQ((Transcript{"TYPE A\r\n", "TYPE I\r\n", "TYPE A\r\n"}), server.Lines());
    server.On("TYPE", "504 Not implemented\r\n");
    EXPECT_EQ(FTP_ERR_UNKNOWN_REPLY, cmd.Ftp_type(0));
    EXPECT_TRUE(logs.NotInfo().empty());  // TYPE tests nothing and logs nothing
}

TEST_F(FileCommandTest, EachCommandSendsItsLine)
{
    Connect();
    bool complete = false;
    EXPECT_EQ(FTP_OK, cmd.Ftp_cwd("/d/e"));
    EXPECT_EQ(FTP_OK, cmd.Ftp_mkd("new dir"));
    EXPECT_EQ(FTP_OK, cmd.Ftp_rmd("old"));
    EXPECT_EQ(FTP_OK, cmd.Ftp_dele("/d/f.txt"));
    server.On("LIST", "150 Here comes the listing\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_list("ignored", complete));
    server.On("RETR", "150 Opening\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_retr("f.bin"));
    server.On("STOR", "150 Ok to send\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_stor("g.bin"));
    EXPECT_EQ((Transcript{"CWD /d/e\r\n", "MKD new dir\r\n", "RMD old\r\n", "DELE /d/f.txt\r\n", "LIST\r\n",
                          "RETR f.bin\r\n", "STOR g.bin\r\n"}),
              server.Lines());
    EXPECT_TRUE(logs.NotInfo().empty());
}

TEST_F(FileCommandTest, Cwd550FailsQuietlyOtherRepliesAreLogged)
{
    Connect();
    server.On("CWD", "550 Failed to change directory.\r\n");
    EXPECT_EQ(FTP_ERR_CWD_REPLY, cmd.Ftp_cwd("x"));
    EXPECT_TRUE(logs.Errors().empty());

    server.On("CWD", "550 x: No such file or directory\r\n");
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, cmd.Ftp_cwd("x"));  // only a plain 550 is substituted
    server.On("CWD", "501 Bad name\r\n");
    EXPECT_EQ(FTP_ERR_REPLY_501, cmd.Ftp_cwd("x"));
    EXPECT_TRUE(logs.Errors().empty());

    server.On("CWD", "451 Local error\r\n");
    EXPECT_EQ(FTP_ERR_REPLY_451, cmd.Ftp_cwd("x"));
    server.On("CWD", "200 odd but fine\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_cwd("x"));
    std::vector<LogLine> expected = {
        Error(FTP_ERR_REPLY_451, "FTPCLIENT_LOG:Ftp_cwd getRetCode error,the real retCode:451 Local error\r\n",
              "ftpcommand", "Ftp_cwd"),
        Error(0, "FTPCLIENT_LOG:Ftp_cwd getRetCode error,the real retCode:200 odd but fine\r\n", "ftpcommand",
              "Ftp_cwd"),
    };
    EXPECT_EQ(expected, logs.Errors());
}

TEST_F(FileCommandTest, Rmd200IsAcceptedLike250)
{
    Connect();
    server.On("RMD", "200 Removed\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_rmd("d"));
    EXPECT_EQ(FTP_OK, cmd.Ftp_rmd("d"));
    EXPECT_TRUE(logs.Errors().empty());
    server.On("RMD", "257 Huh\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_rmd("d"));
    EXPECT_EQ(std::vector<LogLine>{Error(0, "FTPCLIENT_LOG:Ftp_rmd getRetCode error,the real retCode:257 Huh\r\n",
                                         "ftpcommand", "Ftp_rmd")},
              logs.Errors());
}

TEST_F(FileCommandTest, Plain550IsSubstitutedPerCommand)
{
    Connect();
    const char* failed = "550 Failed\r\n";
    server.On("DELE", failed);
    EXPECT_EQ(FTP_ERR_DELE_REPLY, cmd.Ftp_dele("f"));
    server.On("MKD", failed);
    EXPECT_EQ(FTP_ERR_MKD_REPLY, cmd.Ftp_mkd("d"));
    server.On("RMD", failed);
    EXPECT_EQ(FTP_ERR_RMD_REPLY, cmd.Ftp_rmd("d"));
    server.On("STOR", failed);
    EXPECT_EQ(FTP_ERR_REPLY_550, cmd.Ftp_stor("f"));
    server.On("RETR", failed);
    EXPECT_EQ(FTP_ERR_REPLY_550, cmd.Ftp_retr("f"));
    // DELE and RETR test nothing; MKD, RMD and STOR log with the code before substitution.
    std::vector<LogLine> expected = {
        Error(FTP_ERR_REPLY_550, "FTPCLIENT_LOG:Ftp_mkd getRetCode error,the real retCode:550 Failed\r\n",
              "ftpcommand", "Ftp_mkd"),
        Error(FTP_ERR_REPLY_550, "FTPCLIENT_LOG:Ftp_rmd getRetCode error,the real retCode:550 Failed\r\n",
              "ftpcommand", "Ftp_rmd"),
        Error(FTP_ERR_REPLY_550, "FTPCLIENT_LOG:Ftp_stor getRetCode error,the real retCode:550 Failed\r\n",
              "ftpcommand", "Ftp_stor"),
    };
    EXPECT_EQ(expected, logs.Errors());
}

TEST_F(FileCommandTest, Mkd257SucceedsWithoutALogLine)
{
    Connect();
    server.On("MKD", "257 \"d\" created\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_mkd("d"));
    server.On("MKD", "250 made it\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_mkd("d"));
    EXPECT_EQ(std::vector<LogLine>{Error(0, "FTPCLIENT_LOG:Ftp_mkd getRetCode error,the real retCode:250 made it\r\n",
                                         "ftpcommand", "Ftp_mkd")},
              logs.Errors());
}

TEST_F(FileCommandTest, StorExpects150)
{
    Connect();
    server.On("STOR", "125 Data connection already open\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_stor("f"));
    EXPECT_EQ(std::vector<LogLine>{Error(0, "FTPCLIENT_LOG:Ftp_stor getRetCode error,the real retCode:125 Data connection already open\r\n",
                                         "ftpcommand", "Ftp_stor")},
              logs.Errors());
}

TEST_F(FileCommandTest, ListFlagTellsWhetherTheCompletionCameAlong)
{
    Connect();
    bool complete = false;
    server.On("LIST", "150 Here\r\n226 Done\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_list("", complete));
    EXPECT_TRUE(complete);

    server.On("LIST", "125 Already open\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_list("", complete));
    EXPECT_FALSE(complete);
    EXPECT_TRUE(logs.Errors().empty());

    server.On("LIST", "226 Done\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_list("", complete));
    EXPECT_TRUE(complete);
    EXPECT_EQ(std::vector<LogLine>{Error(0, "FTPCLIENT_LOG:Ftp_list getRetCode error,the real retCode:226 Done\r\n",
                                         "ftpcommand", "Ftp_list")},
              logs.Errors());

    server.On("LIST", "425 No data connection\r\n");
    EXPECT_EQ(FTP_ERR_REPLY_425, cmd.Ftp_list("", complete));
    EXPECT_FALSE(complete);
}

TEST_F(FileCommandTest, FailedSendReturnsSendErrorAndLeavesTheListFlag)
{
    CFtpCommand idle;
    bool complete = true;
    EXPECT_EQ(FTP_ERR_SEND, idle.Ftp_list("", complete));
    EXPECT_TRUE(complete);
    EXPECT_EQ(FTP_ERR_SEND, idle.Ftp_type(0));
    EXPECT_EQ(FTP_ERR_SEND, idle.Ftp_cwd("a"));
    EXPECT_EQ(FTP_ERR_SEND, idle.Ftp_dele("a"));
    EXPECT_EQ(FTP_ERR_SEND, idle.Ftp_mkd("a"));
    EXPECT_EQ(FTP_ERR_SEND, idle.Ftp_rmd("a"));
    EXPECT_EQ(FTP_ERR_SEND, idle.Ftp_retr("a"));
    EXPECT_EQ(FTP_ERR_SEND, idle.Ftp_stor("a"));
    EXPECT_TRUE(logs.All().empty());
}

TEST_F(FileCommandTest, ConvertedNamesForCwdDeleMkdCallersBytesForRetrStorRmd)
{
    Connect();
    faults->utf8ToLocal = [](const char* text) { return std::string("L:") + text; };
    cmd.Ftp_cwd("n");
    cmd.Ftp_dele("n");
    cmd.Ftp_mkd("n");
    server.On("RETR", "150 ok\r\n");
    cmd.Ftp_retr("n");
    server.On("STOR", "150 ok\r\n");
    cmd.Ftp_stor("n");
    cmd.Ftp_rmd("n");
    EXPECT_EQ((Transcript{"CWD L:n\r\n", "DELE L:n\r\n", "MKD L:n\r\n", "RETR n\r\n", "STOR n\r\n", "RMD n\r\n"}),
              server.Lines());
}

TEST_F(FileCommandTest, UnconvertedNameFitsWhileAtMost12BytesLongerThanTheConvertedOne)
{
    Connect();
    faults->utf8ToLocal = [](const char*) { return std::string(); };  // the local form takes no bytes at all
    server.On("RETR", "150 ok\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_retr(std::string(12, 'r')));
    server.On("STOR", "150 ok\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_stor(std::string(12, 's')));
    EXPECT_EQ(FTP_OK, cmd.Ftp_rmd(std::string(13, 'd')));
    EXPECT_EQ((Transcript{"RETR " + std::string(12, 'r') + "\r\n", "STOR " + std::string(12, 's') + "\r\n",
                          "RMD " + std::string(13, 'd') + "\r\n"}),
              server.Lines());
    EXPECT_TRUE(logs.NotInfo().empty());
}

TEST_F(FileCommandTest, MuchShorterConvertedNameCutsTheLineWhichIsStillSent)
{
    Connect(1, 1, 1);
    faults->utf8ToLocal = [](const char*) { return std::string(); };
    // Buffer of 20 bytes, count 19: "RETR " and 13 bytes of name no longer leave room for CR LF.
    EXPECT_EQ(FTP_ERR_BLANK_REPLY, cmd.Ftp_retr(std::string(13, 'r')));
    EXPECT_EQ("RETR " + std::string(13, 'r') + "\r", server.Bytes());
    std::vector<LogLine> expected = {
        Debug(std::string("Snprintf operation Failed !!! :-1, ") + std::strerror(ERANGE), "ftpcommand", "Ftp_retr"),
        Error(FTP_ERR_BLANK_REPLY, "FTPCLIENT_LOG:GetRetCode error : get response is blank line:", "ftpcommand",
              "GetRetCode"),
    };
    EXPECT_EQ(expected, logs.NotInfo());
}

TEST_F(FileCommandTest, MuchShorterConvertedNameCutsRmdOneByteLater)
{
    Connect(1, 1, 1);
    faults->utf8ToLocal = [](const char*) { return std::string("x"); };
    // Buffer of 21 bytes, count 20: "RMD " and 15 bytes of name leave room for the CR only.
    EXPECT_EQ(FTP_ERR_BLANK_REPLY, cmd.Ftp_rmd(std::string(15, 'd')));
    EXPECT_EQ("RMD " + std::string(15, 'd') + "\r", server.Bytes());
    ASSERT_FALSE(logs.Of(LogLevel::Debug).empty());
    EXPECT_EQ(Debug(std::string("Snprintf operation Failed !!! :-1, ") + std::strerror(ERANGE), "ftpcommand",
                    "Ftp_rmd"),
              logs.Of(LogLevel::Debug)[0]);
}

class LineBreakTest : public CommandTest, public testing::WithParamInterface<const char*> {};

TEST_P(LineBreakTest, EachFormattedCommandRefusesALineBreakBeforeSending)
{
    Connect();
    const std::string evil = std::string("n") + GetParam() + "DELE INJECTED";
    EXPECT_EQ(FTP_ERR_SEND, cmd.Ftp_cwd(evil));
    EXPECT_EQ(FTP_ERR_SEND, cmd.Ftp_dele(evil));
    EXPECT_EQ(FTP_ERR_SEND, cmd.Ftp_mkd(evil));
    EXPECT_EQ(FTP_ERR_SEND, cmd.Ftp_rmd(evil));
    EXPECT_EQ(FTP_ERR_SEND, cmd.Ftp_retr(evil));
    EXPECT_EQ(FTP_ERR_SEND, cmd.Ftp_stor(evil));
    cmd.SetServerInfo("127.0.0.1", server.Port(), evil, evil);
    EXPECT_EQ(FTP_ERR_SEND, cmd.Ftp_user());
    EXPECT_EQ(FTP_ERR_SEND, cmd.Ftp_pass());
    std::vector<LogLine> expected;
    for (const char* function :
         {"Ftp_cwd", "Ftp_dele", "Ftp_mkd", "Ftp_rmd", "Ftp_retr", "Ftp_stor", "Ftp_user", "Ftp_pass"}) {
        expected.push_back(Error(FTP_ERR_SEND,
                                 std::string("FTPCLIENT_LOG:") + function + " refused the argument: it holds a line break",
                                 "ftpcommand", function));
    }
    EXPECT_EQ(expected, logs.All());  // no reply was read either: no trace lines
    EXPECT_TRUE(server.Bytes().empty());
    // The session is unharmed.
    EXPECT_EQ(FTP_OK, cmd.Ftp_cwd("fine"));
    EXPECT_EQ(Transcript{"CWD fine\r\n"}, server.Lines());
}

TEST_F(FileCommandTest, LineBreakAfterANulByteIsNeverSentSoNotRefused)
{
    Connect();
    EXPECT_EQ(FTP_OK, cmd.Ftp_cwd(std::string("ok\0\r\nDELE x", 11)));
    EXPECT_EQ(Transcript{"CWD ok\r\n"}, server.Lines());
}

INSTANTIATE_TEST_SUITE_P(Breaks, LineBreakTest, testing::Values("\r\n", "\n", "\r"),
                         [](const testing::TestParamInfo<const char*>& info) {
                             return std::string(info.param) == "\r\n" ? std::string("CRLF")
                                                                      : (info.param[0] == '\n' ? "LF" : "CR");
                         });

struct Split {
    const char* path;
    const char* dir;
    const char* file;
};

class SplitTest : public testing::TestWithParam<Split> {};

TEST_P(SplitTest, SplitsAtTheLastSlash)
{
    CFtpCommand command;
    std::string file = "old file";
    std::string dir = "old dir";
    command.GetFtpFileAndDir(GetParam().path, file, dir);
    EXPECT_EQ(GetParam().dir, dir) << GetParam().path;
    EXPECT_EQ(GetParam().file, file) << GetParam().path;
}

INSTANTIATE_TEST_SUITE_P(Paths, SplitTest,
                         testing::Values(Split{"/a/b/c.txt", "/a/b", "c.txt"}, Split{"/c.txt", "/", "c.txt"},
                                         Split{"c.txt", "", "c.txt"}, Split{"a\\b\\c", "a/b", "c"},
                                         Split{"dir/", "dir", ""}, Split{"", "", ""}, Split{"/", "/", ""},
                                         Split{"//x", "/", "x"}, Split{"a b/c d", "a b", "c d"}));

TEST(SplitFailureTest, FailedCopyIsLoggedAndTheSplitGoesOnWithTheBufferAsItStands)
{
    ScopedFaults faults;
    LogCapture logs;
    faults->strncpyResult = [](char*, size_t, size_t) { return 34; };
    CFtpCommand command;
    std::string file = "x";
    std::string dir = "y";
    command.GetFtpFileAndDir("/a/b", file, dir);
    EXPECT_EQ("", file);
    EXPECT_EQ("", dir);
    EXPECT_EQ(std::vector<LogLine>{Debug("Strncpy operation Failed !!! :34", "ftpcommand", "GetFtpFileAndDir")},
              logs.All());
}

} // namespace
