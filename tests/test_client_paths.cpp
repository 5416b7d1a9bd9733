// Remote paths joined to the login directory, and ChangeDir, RemoveFile and MakeDir.
#include "client_fixture.h"
#include "ftpclientImpl.h"

using namespace PLX_FTP_CLIENT;
using namespace plxtest;

namespace {

const LogLine kEmptyRoot =
    Error(0, "FTPCLIENT_LOG:FTPRoot is empty! It is dangerous for other ftp handles!", "ftpclientImpl", "addRoodDir");

struct Join {
    const char* root;
    const char* path;
    const char* absolute;
};

class JoinTest : public testing::TestWithParam<Join> {};

TEST_P(JoinTest, JoinsRootAndPath)
{
    LogCapture logs;
    CFtpClientImpl impl;
    EXPECT_EQ(GetParam().absolute, impl.addRoodDir(GetParam().path, GetParam().root))
        << GetParam().root << " + " << GetParam().path;
    EXPECT_TRUE(logs.All().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Examples, JoinTest,
    testing::Values(Join{"/home/u", "a/b", "/home/u/a/b"}, Join{"/home/u/", "/a", "/home/u/a"},
                    Join{"/home/u/", "x", "/home/u/x"}, Join{"/", "x", "/x"}, Join{"/", "a/b", "/a/b"},
                    Join{"//", "x", "/x"}, Join{"/home/u//", "x", "/home/u//x"},
                    Join{"\\srv\\ftp", "f", "/srv/ftp/f"}, Join{"E:\\ftp", "f", "E:/ftp/f"},
                    Join{"E:\\", "f", "E:/f"}, Join{"/home/u", "\\d\\f", "/home/u\\d\\f"},
                    Join{"/home/u", "../x", "/home/u/../x"}, Join{"/home/u", "./", "/home/u/./"}));

TEST(JoinLogTest, EmptyRootOrPathIsLoggedWithTheSameWords)
{
    LogCapture logs;
    CFtpClientImpl impl;
    EXPECT_EQ("a", impl.addRoodDir("a", ""));
    EXPECT_EQ("", impl.addRoodDir("", "/home/u"));
    EXPECT_EQ("", impl.addRoodDir("", ""));
    EXPECT_EQ((std::vector<LogLine>{kEmptyRoot, kEmptyRoot, kEmptyRoot}), logs.All());
}

class PathsTest : public ClientTest {
protected:
    void LoginWithRoot(const std::string& root)
    {
        server.On("PWD", "257 \"" + root + "\" is the current directory\r\n");
        LoginFresh();
    }
};

TEST_F(PathsTest, ChangeDirSendsTheJoinedPath)
{
    LoginWithRoot("/r");
    EXPECT_EQ(FTP_OK, client->ChangeDir("a/b"));
    EXPECT_EQ(FTP_OK, client->ChangeDir("/c"));
    EXPECT_EQ((Transcript{"CWD /r/a/b\r\n", "CWD /r/c\r\n"}), Sent());
    EXPECT_TRUE(logs.Errors().empty());
}

TEST_F(PathsTest, WindowsRootIsJoinedWithSlashes)
{
    LoginWithRoot("E:\\ftp");
    EXPECT_EQ(FTP_OK, client->ChangeDir("in"));
    EXPECT_EQ(Transcript{"CWD E:/ftp/in\r\n"}, Sent());
}

TEST_F(PathsTest, EmptyPathIsSentEmptyAndLogged)
{
    LoginWithRoot("/r");
    EXPECT_EQ(FTP_OK, client->ChangeDir(""));
    EXPECT_EQ(Transcript{"CWD \r\n"}, Sent());
    EXPECT_EQ(std::vector<LogLine>{kEmptyRoot}, logs.Errors());
}

TEST_F(PathsTest, EmptyRootLeavesPathsUnchangedAndLogsOncePerCall)
{
    server.On("PWD", "550 No PWD here\r\n");
    LoginFresh();
    EXPECT_EQ(FTP_OK, client->ChangeDir("a"));
    EXPECT_EQ(FTP_OK, client->RemoveFile("b"));
    EXPECT_EQ(FTP_OK, client->MakeDir("c"));
    EXPECT_EQ((Transcript{"CWD a\r\n", "DELE b\r\n", "CWD /\r\n", "CWD c/\r\n"}), Sent());
    EXPECT_EQ((std::vector<LogLine>{kEmptyRoot, kEmptyRoot, kEmptyRoot}), logs.Errors());
}

TEST_F(PathsTest, ChangeDirMeasuresTheCallersArgumentOthersTheAbsolutePath)
{
    const std::string root = "/" + std::string(99, 'r');  // 100 bytes
    const std::string path(200, 'p');
    LoginWithRoot(root);
    EXPECT_EQ(FTP_OK, client->ChangeDir(path));  // 301 bytes absolute, left to the server
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->RemoveFile(path));
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->MakeDir(path));
    EXPECT_EQ(Transcript{"CWD " + root + "/" + path + "\r\n"}, Sent());
}

TEST_F(PathsTest, ChangeDirAccepts260BytesAndRefuses261)
{
    LoginWithRoot("/r");
    EXPECT_EQ(FTP_OK, client->ChangeDir(std::string(260, 'c')));
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->ChangeDir(std::string(261, 'c')));
    EXPECT_EQ(Transcript{"CWD /r/" + std::string(260, 'c') + "\r\n"}, Sent());
}

TEST_F(PathsTest, RemoveFileAndMakeDirAccept260AbsoluteBytesAndRefuse261)
{
    LoginWithRoot("/r");
    const std::string fits(260 - 3, 'f');  // "/r/" + 257 bytes = 260
    const std::string over(261 - 3, 'f');
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->RemoveFile(over));
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->MakeDir(over));
    EXPECT_TRUE(Sent().empty());
    EXPECT_EQ(FTP_OK, client->RemoveFile(fits));
    EXPECT_EQ(FTP_OK, client->MakeDir(fits));
    EXPECT_EQ((Transcript{"DELE /r/" + fits + "\r\n", "CWD /\r\n", "CWD r/\r\n", "CWD " + fits + "/\r\n"}), Sent());
}

TEST_F(PathsTest, LengthIsCountedUpToTheFirstNulByte)
{
    LoginWithRoot("/r");
    std::string path = std::string(10, 'a') + '\0' + std::string(300, 'b');
    EXPECT_EQ(FTP_OK, client->ChangeDir(path));
    EXPECT_EQ(Transcript{"CWD /r/aaaaaaaaaa\r\n"}, Sent());
}

TEST_F(PathsTest, RemoveFileSendsDeleAndPassesItsCode)
{
    LoginWithRoot("/home/u/");
    EXPECT_EQ(FTP_OK, client->RemoveFile("x"));
    server.On("DELE", "550 Failed\r\n");
    EXPECT_EQ(FTP_ERR_DELE_REPLY, client->RemoveFile("y"));
    server.On("DELE", "550 y: No such file or directory\r\n");
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->RemoveFile("y"));
    EXPECT_EQ((Transcript{"DELE /home/u/x\r\n", "DELE /home/u/y\r\n", "DELE /home/u/y\r\n"}), Sent());
}

TEST_F(PathsTest, PathWithLeadingBackslashKeepsIt)
{
    LoginWithRoot("/home/u");
    EXPECT_EQ(FTP_OK, client->RemoveFile("\\x"));
    EXPECT_EQ(Transcript{"DELE /home/u\\x\r\n"}, Sent());
}

TEST_F(PathsTest, MakeDirWalksTheLevelsFromTheTopSkippingEmptyOnes)
{
    LoginWithRoot("/r");
    EXPECT_EQ(FTP_OK, client->MakeDir("a//b/"));
    EXPECT_EQ((Transcript{"CWD /\r\n", "CWD r/\r\n", "CWD a/\r\n", "CWD b/\r\n"}), Sent());
}

TEST_F(PathsTest, MakeDirCreatesOnlyTheMissingLevels)
{
    LoginWithRoot("/r");
    server.On("CWD", "250 ok\r\n", 2);                  // "/" and "r/" exist
    server.On("CWD", "550 Failed to change\r\n");       // "a/" is missing
    server.On("CWD", "250 ok\r\n");                     // entered after MKD
    server.On("CWD", "550 Failed to change\r\n");       // "b/" is missing
    EXPECT_EQ(FTP_OK, client->MakeDir("a/b"));
    EXPECT_EQ((Transcript{"CWD /\r\n", "CWD r/\r\n", "CWD a/\r\n", "MKD a\r\n", "CWD a/\r\n", "CWD b/\r\n", "MKD b\r\n",
                          "CWD b/\r\n"}),
              Sent());
    EXPECT_TRUE(logs.Errors().empty());
}

TEST_F(PathsTest, MakeDirTriesMkdWhateverTheCwdReplyAndStopsAtItsFailure)
{
    LoginWithRoot("/r");
    server.On("CWD", "250 ok\r\n");                 // "/"
    server.On("CWD", "530 Not allowed\r\n");        // "r/" cannot be entered
    server.On("MKD", "550 Create directory operation failed.\r\n");
    EXPECT_EQ(FTP_ERR_MKD_REPLY, client->MakeDir("a"));
    EXPECT_EQ((Transcript{"CWD /\r\n", "CWD r/\r\n", "MKD r\r\n"}), Sent());
}

TEST_F(PathsTest, MakeDirStopsWhenTheNewLevelCannotBeEntered)
{
    LoginWithRoot("/r");
    server.On("CWD", "250 ok\r\n", 2);
    server.On("CWD", "550 Failed\r\n", 2);
    EXPECT_EQ(FTP_ERR_CWD_REPLY, client->MakeDir("a/b"));
    EXPECT_EQ((Transcript{"CWD /\r\n", "CWD r/\r\n", "CWD a/\r\n", "MKD a\r\n", "CWD a/\r\n"}), Sent());
}

TEST_F(PathsTest, MakeDirFailsWhenTheTopCannotBeEntered)
{
    LoginWithRoot("/r");
    server.On("CWD", "550 Failed\r\n");
    EXPECT_EQ(FTP_ERR_CWD_REPLY, client->MakeDir("a"));
    EXPECT_EQ(Transcript{"CWD /\r\n"}, Sent());
}

TEST_F(PathsTest, MakeDirUnderTheTopRootWalksThePathOnly)
{
    LoginWithRoot("/");
    EXPECT_EQ(FTP_OK, client->MakeDir("x/y"));
    EXPECT_EQ((Transcript{"CWD /\r\n", "CWD x/\r\n", "CWD y/\r\n"}), Sent());
}

} // namespace
