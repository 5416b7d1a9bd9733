// Connecting with retries, the greeting, and the session commands USER, PASS, QUIT, PWD, ABOR and SYST.
#include <cerrno>
#include <cstring>

#include "command_fixture.h"

using namespace PLX_FTP_CLIENT;
using namespace plxtest;

namespace {

using ConnectServerTest = CommandTest;
using SessionCommandTest = CommandTest;

int CountSleeps(const LogCapture& logs)
{
    int sleeps = 0;
    for (const LogLine& line : logs.Errors()) {
        sleeps += line.text == "FTPCLIENT_LOG:CFtpClientCom::Connect error :sleep " ? 1 : 0;
    }
    return sleeps;
}

// Every connect attempt that fails logs one line with the connect error code.
int CountAttempts(const LogCapture& logs)
{
    int attempts = 0;
    for (const LogLine& line : logs.Errors()) {
        attempts += line.code == FTP_ERR_CONNECT ? 1 : 0;
    }
    return attempts;
}

TEST_F(ConnectServerTest, AnyPositiveGreetingIsAccepted)
{
    for (const char* greeting : {"220 Ready\r\n", "120 In a minute\r\n", "331 odd but fine\r\n",
                                 "220-Welcome\r\n220-to\r\n220 us\r\n"}) {
        FakeFtpServer local;
        local.Greeting(greeting);
        CFtpCommand command;
        command.SetServerInfo("127.0.0.1", local.Port(), "u", "p");
        EXPECT_EQ(FTP_OK, command.ConnectServer()) << greeting;
        command.CloseCmdSock();
    }
}

TEST_F(ConnectServerTest, ErrorGreetingReturnsItsCode)
{
    server.Greeting("421 Too many users\r\n");
    cmd.SetServerInfo("127.0.0.1", server.Port(), "u", "p");
    EXPECT_EQ(FTP_ERR_REPLY_421, cmd.ConnectServer());
}

TEST_F(ConnectServerTest, DelayedGreetingIsWaitedFor)
{
    server.Greeting(Reply().Pause(1500).Then("220 Slow\r\n"));
    cmd.SetServerInfo("127.0.0.1", server.Port(), "u", "p");
    cmd.SetParam(1, 2, 1);
    EXPECT_EQ(FTP_OK, cmd.ConnectServer());
}

TEST_F(ConnectServerTest, SilentGreetingIsAcceptedAfterASecondRead)
{
    server.Greeting(Reply::Silence());
    cmd.SetServerInfo("127.0.0.1", server.Port(), "u", "p");
    cmd.SetParam(1, 1, 1);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(FTP_OK, cmd.ConnectServer());
    double took = SecondsSince(start);
    EXPECT_GE(took, 3.8);  // two reads of 1 + 1 seconds
    EXPECT_LT(took, 7.0);
    LogLine blank = Error(FTP_ERR_BLANK_REPLY, "FTPCLIENT_LOG:GetRetCode error : get response is blank line:",
                          "ftpcommand", "GetRetCode");
    EXPECT_EQ((std::vector<LogLine>{blank, blank}), logs.All());
}

TEST_F(ConnectServerTest, RefusedServerIsTriedOncePlusTheRetries)
{
    cmd.SetServerInfo("127.0.0.1", ClosedPort(), "u", "p");
    cmd.SetParam(1, 2, 0);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(FTP_ERR_CONNECT, cmd.ConnectServer());
    EXPECT_EQ(3, CountAttempts(logs));
    // The first attempt (1 second) sees the refusal and sleeps. A 0-second attempt only polls the connect: it
    // fails with "would block" (errno 11) unless loopback reports the refusal at once, and then sleeps 0 seconds.
    EXPECT_GE(CountSleeps(logs), 1);
    double took = SecondsSince(start);
    EXPECT_GE(took, 0.9);  // the first attempt sleeps 1 second, the retries 0
    EXPECT_LT(took, 3.0);
}

TEST_F(ConnectServerTest, NoRetriesMeansExactlyOneAttempt)
{
    cmd.SetServerInfo("127.0.0.1", ClosedPort(), "u", "p");
    cmd.SetParam(1, 0, 0);
    EXPECT_EQ(FTP_ERR_CONNECT, cmd.ConnectServer());
    EXPECT_EQ(1, CountAttempts(logs));
    EXPECT_EQ(1, CountSleeps(logs));
    EXPECT_EQ(2u, logs.All().size());
}

TEST_F(SessionCommandTest, UserAndPassSendTheirLines)
{
    Connect();
    EXPECT_EQ(FTP_OK, cmd.Ftp_user());
    EXPECT_EQ(FTP_OK, cmd.Ftp_pass());
    EXPECT_EQ((Transcript{"USER user\r\n", "PASS secret\r\n"}), server.Lines());
    EXPECT_TRUE(logs.NotInfo().empty());
}

TEST_F(SessionCommandTest, LongUserNameIsSentWhole)
{
    Connect();
    std::string name(200, 'n');
    cmd.SetServerInfo("127.0.0.1", server.Port(), name, "p");
    EXPECT_EQ(FTP_OK, cmd.Ftp_user());
    EXPECT_EQ(Transcript{"USER " + name + "\r\n"}, server.Lines());
}

TEST_F(SessionCommandTest, UserAnsweredWith230SucceedsButIsLogged)
{
    Connect();
    server.On("USER", "230 No password needed\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_user());
    EXPECT_EQ(std::vector<LogLine>{Error(0, "FTPCLIENT_LOG:Ftp_user getRetCode error,the real retCode:230 No password needed\r\n",
                                         "ftpcommand", "Ftp_user")},
              logs.Errors());
}

TEST_F(SessionCommandTest, MultiLineExpectedReplyIsStillLogged)
{
    Connect();
    server.On("USER", "331-Hello\r\n331 Password please\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_user());
    EXPECT_EQ(std::vector<LogLine>{Error(0, "FTPCLIENT_LOG:Ftp_user getRetCode error,the real retCode:331-Hello\r\n331 Password please\r\n",
                                         "ftpcommand", "Ftp_user")},
              logs.Errors());
}

TEST_F(SessionCommandTest, UserRejectedReturnsTheClassifiedCode)
{
    Connect();
    server.On("USER", "530 This FTP server is anonymous only.\r\n");
    EXPECT_EQ(FTP_ERR_REPLY_530, cmd.Ftp_user());
    EXPECT_EQ(std::vector<LogLine>{Error(FTP_ERR_REPLY_530,
                                         "FTPCLIENT_LOG:Ftp_user getRetCode error,the real retCode:530 This FTP server is anonymous only.\r\n",
                                         "ftpcommand", "Ftp_user")},
              logs.Errors());
}

TEST_F(SessionCommandTest, WrongPasswordIsPassDenied)
{
    Connect();
    server.On("PASS", "530 Login incorrect.\r\n");
    EXPECT_EQ(FTP_ERR_PASS_DENIED, cmd.Ftp_pass());
    EXPECT_EQ(std::vector<LogLine>{Error(FTP_ERR_REPLY_530,
                                         "FTPCLIENT_LOG:Ftp_pass getRetCode error,the real retCode:530 Login incorrect.\r\n",
                                         "ftpcommand", "Ftp_pass")},
              logs.Errors());
}

TEST_F(SessionCommandTest, QuitExpects221)
{
    Connect();
    EXPECT_EQ(FTP_OK, cmd.Ftp_quit());
    EXPECT_EQ(Transcript{"QUIT\r\n"}, server.Lines());
    EXPECT_TRUE(logs.Errors().empty());
}

TEST_F(SessionCommandTest, QuitAnsweredOtherwiseIsLogged)
{
    Connect();
    server.On("QUIT", "200 whatever\r\n");
    EXPECT_EQ(FTP_OK, cmd.Ftp_quit());
    EXPECT_EQ(std::vector<LogLine>{Error(0, "FTPCLIENT_LOG:Ftp_quit getRetCode error,the real retCode:200 whatever\r\n",
                                         "ftpcommand", "Ftp_quit")},
              logs.Errors());
}

TEST_F(SessionCommandTest, PwdTakesTheTextBetweenTheFirstTwoQuotes)
{
    Connect();
    std::string dir = "unchanged";
    server.On("PWD", "257 \"/home/u\" is the current directory\r\n");
    EXPECT_EQ(FTP_OK, cmd.FTP_pwd(dir));
    EXPECT_EQ("/home/u", dir);

    server.On("PWD", "257 \"/a\"\"b\" with a doubled quote\r\n");
    EXPECT_EQ(FTP_OK, cmd.FTP_pwd(dir));
    EXPECT_EQ("/a", dir);

    server.On("PWD", "257 \"\" empty\r\n");
    EXPECT_EQ(FTP_OK, cmd.FTP_pwd(dir));
    EXPECT_EQ("", dir);
    EXPECT_EQ((Transcript{"PWD\r\n", "PWD\r\n", "PWD\r\n"}), server.Lines());
    EXPECT_TRUE(logs.NotInfo().empty());
}

TEST_F(SessionCommandTest, PwdWithoutQuotesLeavesTheDirectory)
{
    Connect();
    std::string dir = "kept";
    server.On("PWD", "257 /home/u\r\n");
    EXPECT_EQ(FTP_OK, cmd.FTP_pwd(dir));
    EXPECT_EQ("kept", dir);
    server.On("PWD", "257 \"/home/u is open\r\n");
    EXPECT_EQ(FTP_OK, cmd.FTP_pwd(dir));
    EXPECT_EQ("kept", dir);
    EXPECT_TRUE(logs.NotInfo().empty());
}

TEST_F(SessionCommandTest, Pwd257AnywhereCounts)
{
    Connect();
    std::string dir;
    server.On("PWD", "200 now at \"/x\" (257)\r\n");
    EXPECT_EQ(FTP_OK, cmd.FTP_pwd(dir));
    EXPECT_EQ("/x", dir);
}

TEST_F(SessionCommandTest, PwdRefusedIsLoggedAndLeavesTheDirectory)
{
    Connect();
    std::string dir = "kept";
    server.On("PWD", "550 \"nope\"\r\n");
    EXPECT_EQ(FTP_ERR_REPLY_550, cmd.FTP_pwd(dir));
    EXPECT_EQ("kept", dir);
    EXPECT_EQ(std::vector<LogLine>{Error(FTP_ERR_REPLY_550, "FTPCLIENT_LOG:FTP_pwd getRetCode error,the real retCode:550 \"nope\"\r\n",
                                         "ftpcommand", "FTP_pwd")},
              logs.Errors());
}

TEST_F(SessionCommandTest, PwdCopyFailureIsLoggedAndCarriesOn)
{
    Connect();
    std::string dir = "kept";
    server.On("PWD", "257 \"/home/u\"\r\n");
    faults->strncpyResult = [](char*, size_t, size_t) { return 34; };
    EXPECT_EQ(FTP_OK, cmd.FTP_pwd(dir));
    faults->strncpyResult = nullptr;
    EXPECT_EQ("", dir);  // the cleared buffer, as it stands
    EXPECT_EQ(std::vector<LogLine>{Debug("Strncpy operation Failed !!! :34", "ftpcommand", "FTP_pwd")},
              logs.NotInfo());
}

TEST_F(SessionCommandTest, AborClosesTheDataConnectionAndReadsOneReply)
{
    Connect();
    EXPECT_EQ(FTP_OK, cmd.Ftp_abor());
    EXPECT_EQ(Transcript{"ABOR\r\n"}, server.Lines());
    server.On("ABOR", "426 Aborted\r\n");
    EXPECT_EQ(FTP_ERR_REPLY_426, cmd.Ftp_abor());
}

TEST_F(SessionCommandTest, SystCopiesTheReply)
{
    Connect();
    std::string reply = "old";
    EXPECT_EQ(FTP_OK, cmd.Ftp_syst(reply));
    EXPECT_EQ("215 UNIX Type: L8\r\n", reply);
}

TEST_F(SessionCommandTest, CommandsWithoutAConnectionFailToSendAndLogNothing)
{
    CFtpCommand idle;
    std::string text = "kept";
    EXPECT_EQ(FTP_ERR_SEND, idle.Ftp_user());
    EXPECT_EQ(FTP_ERR_SEND, idle.Ftp_pass());
    EXPECT_EQ(FTP_ERR_SEND, idle.Ftp_quit());
    EXPECT_EQ(FTP_ERR_SEND, idle.FTP_pwd(text));
    EXPECT_EQ(FTP_ERR_SEND, idle.Ftp_abor());
    EXPECT_EQ(FTP_ERR_SEND, idle.Ftp_syst(text));
    EXPECT_EQ("kept", text);
    EXPECT_TRUE(logs.All().empty());
}

TEST_F(SessionCommandTest, FailedClearOfTheCommandBufferIsLoggedAndTheLineStillSent)
{
    Connect();
    faults->memsetResult = [](void* dest, size_t size, size_t) {
        std::memset(dest, 0, size);
        return 22;
    };
    EXPECT_EQ(FTP_OK, cmd.Ftp_user());
    faults->memsetResult = nullptr;
    EXPECT_EQ(Transcript{"USER user\r\n"}, server.Lines());
    std::vector<LogLine> debug = logs.Of(LogLevel::Debug);
    ASSERT_FALSE(debug.empty());
    EXPECT_EQ(Debug("Memset operation Failed !!! :22", "ftpcommand", "Ftp_user"), debug[0]);
}

TEST_F(SessionCommandTest, FailedFormattingIsLoggedWithTheSystemTextAndTheBufferStillSent)
{
    Connect();
    faults->snprintfResult = [](const std::string&, int) {
        errno = 34;
        return -1;
    };
    EXPECT_EQ(FTP_OK, cmd.Ftp_pass());
    faults->snprintfResult = nullptr;
    EXPECT_EQ(Transcript{"PASS secret\r\n"}, server.Lines());
    EXPECT_EQ(std::vector<LogLine>{Debug(std::string("Snprintf operation Failed !!! :-1, ") + std::strerror(34),
                                         "ftpcommand", "Ftp_pass")},
              logs.NotInfo());
}

} // namespace
