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
