// The exported client: construction, settings, Login and Close, and destruction.
#include <chrono>
#include <thread>

#include "client_fixture.h"

using namespace PLX_FTP_CLIENT;
using namespace plxtest;

namespace {

using SessionTest = ClientTest;

TEST_F(SessionTest, LoginSendsUserPassPwdAndCloseSendsQuit)
{
    EXPECT_EQ(FTP_OK, client->Login());
    EXPECT_EQ(FTP_OK, client->Close());
    EXPECT_EQ((Transcript{"USER user\r\n", "PASS secret\r\n", "PWD\r\n", "QUIT\r\n"}), server.Lines());
    EXPECT_TRUE(logs.NotInfo().empty());
}

TEST_F(SessionTest, ConstructionTouchesNoNetwork)
{
    CFtpClient idle("127.0.0.1", server.Port(), "a", "b");
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(0, server.Connections());
}

TEST_F(SessionTest, RefusedPwdStillLogsIn)
{
    server.On("PWD", "500 PWD not understood\r\n");
    EXPECT_EQ(FTP_OK, client->Login());
    EXPECT_EQ(std::vector<LogLine>{Error(FTP_ERR_UNKNOWN_REPLY,
                                         "FTPCLIENT_LOG:FTP_pwd getRetCode error,the real retCode:500 PWD not understood\r\n",
                                         "ftpcommand", "FTP_pwd")},
              logs.Errors());
    // The root stayed empty: a path is used as it stands, with the warning logged.
    logs.Clear();
    EXPECT_EQ(FTP_OK, client->ChangeDir("docs"));
    EXPECT_EQ("CWD docs\r\n", server.Lines().back());
    EXPECT_EQ(std::vector<LogLine>{Error(0, "FTPCLIENT_LOG:FTPRoot is empty! It is dangerous for other ftp handles!",
                                         "ftpclientImpl", "addRoodDir")},
              logs.Errors());
}

TEST_F(SessionTest, LoginReturnsTheFirstFailingStep)
{
    server.On("PASS", "530 Login incorrect.\r\n");
    EXPECT_EQ(FTP_ERR_PASS_DENIED, client->Login());
    EXPECT_EQ((Transcript{"USER user\r\n", "PASS secret\r\n"}), server.Lines());
    client->Close();

    server.On("USER", "530 Not allowed.\r\n");
    EXPECT_EQ(FTP_ERR_REPLY_530, client->Login());
    client->Close();

    server.Greeting("421 Busy\r\n");
    EXPECT_EQ(FTP_ERR_REPLY_421, client->Login());
}

TEST_F(SessionTest, NoServerGivesConnectError)
{
    CFtpClient lonely("127.0.0.1", ClosedPort(), "u", "p");
    lonely.setParam(0, 0, 0);
    EXPECT_EQ(FTP_ERR_CONNECT, lonely.Login());
    int attempts = 0;
    for (const LogLine& line : logs.Errors()) {
        attempts += line.code == FTP_ERR_CONNECT ? 1 : 0;
    }
    EXPECT_EQ(1, attempts);
}

TEST_F(SessionTest, NoRetriesMakesExactlyOneAttempt)
{
    CFtpClient lonely("127.0.0.1", ClosedPort(), "u", "p");
    lonely.setParam(1, 0, 2);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(FTP_ERR_CONNECT, lonely.Login());
    double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_GE(took, 0.9);
    EXPECT_LT(took, 2.0);  // a retry would have slept 2 seconds more
    EXPECT_EQ(2u, logs.Errors().size());
}

TEST_F(SessionTest, DefaultSettingsRetryTwiceWithTheirTimeOuts)
{
    CFtpClient lonely("127.0.0.1", ClosedPort(), "u", "p");
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(FTP_ERR_CONNECT, lonely.Login());
    double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_GE(took, 8.8);  // 5 + 2 + 2 seconds of sleeping after refusals
    EXPECT_LT(took, 12.0);
    EXPECT_EQ(6u, logs.Errors().size());
}

TEST_F(SessionTest, NoRetriesMeansAnEmptyReceiveIsNotRetried)
{
    server.Greeting(Reply::Silence());
    client->setParam(1, 0, 0);
    // With no tries the first empty receive ends the read: the greeting read yields 421.
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(FTP_ERR_REPLY_421, client->Login());
    double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_GE(took, 0.9);
    EXPECT_LT(took, 2.5);
}

TEST_F(SessionTest, ZeroTimeOutOnlyPollsTheConnect)
{
    // A 0-second attempt does not wait for the connection to complete; against a refusing port it fails at once.
    CFtpClient lonely("127.0.0.1", ClosedPort(), "u", "p");
    lonely.setParam(0, 0, 0);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(FTP_ERR_CONNECT, lonely.Login());
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 0.5);
}

TEST_F(SessionTest, CloseWithoutLoginFailsAndLoginStillWorks)
{
    EXPECT_EQ(FTP_ERR_CLOSE, client->Close());
    EXPECT_EQ(0, server.Connections());
    EXPECT_EQ(FTP_OK, client->Login());
    EXPECT_EQ(FTP_OK, client->Close());
}

TEST_F(SessionTest, SecondCloseFails)
{
    ASSERT_EQ(FTP_OK, client->Login());
    EXPECT_EQ(FTP_OK, client->Close());
    EXPECT_EQ(FTP_ERR_CLOSE, client->Close());
}

TEST_F(SessionTest, FailedQuitCollapsesIntoCloseError)
{
    ASSERT_EQ(FTP_OK, client->Login());
    server.On("QUIT", "500 No\r\n");
    EXPECT_EQ(FTP_ERR_CLOSE, client->Close());
    // The connections are closed all the same: a new session works.
    EXPECT_EQ(FTP_OK, client->Login());
    EXPECT_EQ(2, server.Connections());
}

TEST_F(SessionTest, LoginAgainAfterCloseOnTheSameObject)
{
    ASSERT_EQ(FTP_OK, client->Login());
    ASSERT_EQ(FTP_OK, client->Close());
    ASSERT_EQ(FTP_OK, client->Login());
    ASSERT_EQ(FTP_OK, client->Close());
    EXPECT_EQ((Transcript{"USER user\r\n", "PASS secret\r\n", "PWD\r\n", "QUIT\r\n", "USER user\r\n",
                          "PASS secret\r\n", "PWD\r\n", "QUIT\r\n"}),
              server.Lines());
}

TEST_F(SessionTest, OperationsWithoutLoginFailToSend)
{
    EXPECT_EQ(FTP_ERR_SEND, client->ChangeDir("x"));
    EXPECT_EQ(0, server.Connections());
}

TEST_F(SessionTest, DestroyingALoggedInClientSendsNothingAndLeavesTheConnectionOpen)
{
    ASSERT_EQ(FTP_OK, client->Login());
    int before = OpenDescriptors();
    size_t sent = server.Bytes().size();
    client.reset();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_EQ(sent, server.Bytes().size());
    EXPECT_EQ(before, OpenDescriptors());  // the control socket is left to the operating system
    EXPECT_EQ(1, server.Connections());
}

TEST_F(SessionTest, CloseLeavesNoDescriptorBehind)
{
    int before = OpenDescriptors();
    ASSERT_EQ(FTP_OK, client->Login());
    ASSERT_EQ(FTP_OK, client->Close());
    EXPECT_EQ(before, OpenDescriptors());
}

} // namespace
