// Against a real server: pyftpdlib, started by the test on a free loopback port.
#include <gtest/gtest.h>

#include "log_capture.h"
#include "plxftpclient.h"
#include "real_server.h"

using namespace PLX_FTP_CLIENT;
using namespace plxtest;

namespace {

class PyFtpdTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(server.Running()) << server.Error(); }

    PyFtpdServer server{"tester", "s3cret"};
};

TEST_F(PyFtpdTest, LoginAndClose)
{
    CFtpClient client("127.0.0.1", server.Port(), "tester", "s3cret");
    EXPECT_EQ(FTP_OK, client.Login());
    EXPECT_EQ(FTP_OK, client.Close());
}

TEST_F(PyFtpdTest, WrongPasswordIsPassDenied)
{
    LogCapture logs;
    CFtpClient client("127.0.0.1", server.Port(), "tester", "wrong");
    EXPECT_EQ(FTP_ERR_PASS_DENIED, client.Login());
    client.Close();
}

} // namespace

namespace {

class PyFtpdSessionTest : public PyFtpdTest {
protected:
    void SetUp() override
    {
        PyFtpdTest::SetUp();
        ASSERT_EQ(FTP_OK, client.Login());
    }
    void TearDown() override { client.Close(); }

    std::vector<std::string> CommandsSince(size_t from) const
    {
        std::vector<std::string> all = server.Commands();
        return std::vector<std::string>(all.begin() + static_cast<long>(std::min(from, all.size())), all.end());
    }

    CFtpClient client{"127.0.0.1", server.Port(), "tester", "s3cret"};
};

TEST_F(PyFtpdSessionTest, MakeDirCreatesEveryLevelAndAgainOnlyChangesDirectory)
{
    EXPECT_EQ(FTP_OK, client.MakeDir("one/two/three"));
    EXPECT_TRUE(Exists(server.Home() + "/one/two/three"));

    size_t before = server.Commands().size();
    EXPECT_EQ(FTP_OK, client.MakeDir("one/two/three"));
    std::vector<std::string> again = CommandsSince(before);
    // pyftpdlib's root is "/", so the walk is CWD / and one CWD per level.
    EXPECT_EQ((std::vector<std::string>{"CWD /", "CWD one/", "CWD two/", "CWD three/"}), again);

    EXPECT_EQ(FTP_OK, client.ChangeDir("one/two/three"));
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client.ChangeDir("one/missing"));  // "550 No such file or directory."
}

TEST_F(PyFtpdSessionTest, RemoveFileDeletesAndReportsAMissingFile)
{
    WriteFile(server.Home() + "/victim.txt", "bye");
    EXPECT_EQ(FTP_OK, client.RemoveFile("victim.txt"));
    EXPECT_FALSE(Exists(server.Home() + "/victim.txt"));
    // pyftpdlib answers "550 No such file or directory.", which classifies before DELE's own substitution.
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client.RemoveFile("victim.txt"));
}

} // namespace
