// Against a real server: pyftpdlib, started by the test on a free loopback port.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

#include "owned_records.h"
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

namespace {

class PyFtpdTransferTest : public PyFtpdSessionTest {
protected:
    void SetUp() override
    {
        PyFtpdSessionTest::SetUp();
        char pattern[] = "/tmp/plx_local_XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(pattern));
        local = pattern;
    }
    void TearDown() override
    {
        PyFtpdSessionTest::TearDown();
        std::string command = "rm -rf '" + local + "'";
        EXPECT_EQ(0, std::system(command.c_str()));
    }
    static std::string Random(size_t size)
    {
        std::string bytes(size, '\0');
        unsigned int state = static_cast<unsigned int>(size) * 2654435761u + 1;
        for (char& c : bytes) {
            state = state * 1103515245u + 12345u;
            c = static_cast<char>(state >> 24);
        }
        return bytes;
    }

    std::string local;
};

TEST_F(PyFtpdTransferTest, UploadsAndDownloadsAreByteExact)
{
    for (size_t size : {size_t(0), size_t(1), size_t(1023), size_t(1024), size_t(1025), size_t(3000),
                        size_t(1024 * 1024)}) {
        const std::string name = "f" + std::to_string(size) + ".bin";
        const std::string content = Random(size);
        WriteFile(local + "/" + name, content);
        ASSERT_EQ(FTP_OK, client.PutOneFileToFile(local + "/" + name, name)) << size;
        EXPECT_TRUE(ReadFile(server.Home() + "/" + name) == content) << size;
        ASSERT_EQ(FTP_OK, client.GetOneFile(name, local + "/back_" + name, false)) << size;
        EXPECT_TRUE(ReadFile(local + "/back_" + name) == content) << size;
    }
}

TEST_F(PyFtpdTransferTest, BatchStopsAtTheMissingMiddleFile)
{
    client.setParam(2, 1, 1);  // the refused RETR waits for a completion reply that never comes
    WriteFile(server.Home() + "/one.txt", "one");
    WriteFile(server.Home() + "/three.txt", "three");
    std::vector<Ftp_File_Pair> batch = {
        {"one.txt", local + "/one.txt"}, {"two.txt", local + "/two.txt"}, {"three.txt", local + "/three.txt"}};
    size_t before = server.Commands().size();
    // pyftpdlib answers "550 No such file or directory.".
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client.GetFile(batch, false));
    EXPECT_EQ("one", ReadFile(local + "/one.txt"));
    EXPECT_FALSE(Exists(local + "/two.txt"));
    EXPECT_FALSE(Exists(local + "/three.txt"));
    std::vector<std::string> sent = CommandsSince(before);
    EXPECT_EQ(0, std::count(sent.begin(), sent.end(), "RETR three.txt"));
    EXPECT_EQ(1, std::count(sent.begin(), sent.end(), "RETR two.txt"));
}

TEST_F(PyFtpdTransferTest, UploadBatchIntoASubdirectory)
{
    ASSERT_EQ(FTP_OK, client.MakeDir("in"));
    WriteFile(local + "/a", "alpha");
    WriteFile(local + "/b", "beta");
    std::vector<Ftp_File_Pair> batch = {{local + "/a", "in/a"}, {local + "/b", "in/b"}};
    EXPECT_EQ(FTP_OK, client.PutFile(batch));
    EXPECT_EQ("alpha", ReadFile(server.Home() + "/in/a"));
    EXPECT_EQ("beta", ReadFile(server.Home() + "/in/b"));
    EXPECT_EQ(FTP_OK, client.PutOneFileToPath(local + "/a", "in/"));  // "in//a" on the wire
    EXPECT_EQ("alpha", ReadFile(server.Home() + "/in/a"));
}

} // namespace

namespace {

using PyFtpdListingTest = PyFtpdSessionTest;

TEST_F(PyFtpdListingTest, ListFileShowsWhatWasPutThere)
{
    ASSERT_EQ(0, mkdir((server.Home() + "/filled").c_str(), 0755));
    ASSERT_EQ(0, mkdir((server.Home() + "/filled/inner dir").c_str(), 0755));
    WriteFile(server.Home() + "/filled/a.txt", "12345");
    WriteFile(server.Home() + "/filled/empty.bin", "");
    WriteFile(server.Home() + "/filled/big file.dat", std::string(70000, 'z'));
    ASSERT_EQ(0, symlink("a.txt", (server.Home() + "/filled/alias").c_str()));

    OwnedRecords listed;
    ASSERT_EQ(FTP_OK, client.ListFile("filled", listed.items));
    std::map<std::string, std::pair<std::string, int>> seen;
    for (const TkFileInfo* info : listed.items) {
        seen[info->strFileName] = {info->strFileSize, info->ucFileType};
        EXPECT_FALSE(info->strFileTime.empty());
    }
    // A link is listed with its own size: the length of its target's name, "a.txt".
    std::map<std::string, std::pair<std::string, int>> expected = {
        {"a.txt", {"5", 0}}, {"empty.bin", {"0", 0}}, {"big file.dat", {"70000", 0}}, {"inner dir", {"4096", 1}},
        {"alias", {"5", 2}}};
    EXPECT_EQ(expected, seen);
}

TEST_F(PyFtpdListingTest, ExistenceChecksForPresentAndMissingNames)
{
    ASSERT_EQ(0, mkdir((server.Home() + "/box").c_str(), 0755));
    WriteFile(server.Home() + "/box/present.txt", "x");
    EXPECT_EQ(FTP_OK, client.checkOneFileExist("box", "present.txt"));
    EXPECT_EQ(FTP_ERR_REPLY_521, client.checkOneFileExist("box", "missing.txt"));
    EXPECT_EQ(FTP_ERR_REPLY_521, client.checkOneFileExist("box", "PRESENT.TXT"));
    EXPECT_EQ(FTP_OK, client.checkOneFileExist("box/present.txt"));
    EXPECT_EQ(FTP_ERR_REPLY_521, client.checkOneFileExist("box/missing.txt"));
    EXPECT_EQ(FTP_ERR_REPLY_521, client.checkOneFileExist("nobox/present.txt"));
}

TEST_F(PyFtpdListingTest, RemoveDirEmptiesAndRemovesButDoesNotDescend)
{
    ASSERT_EQ(0, mkdir((server.Home() + "/flat").c_str(), 0755));
    WriteFile(server.Home() + "/flat/1", "1");
    WriteFile(server.Home() + "/flat/2", "2");
    EXPECT_EQ(FTP_OK, client.RemoveDir("flat"));
    EXPECT_FALSE(Exists(server.Home() + "/flat"));

    ASSERT_EQ(0, mkdir((server.Home() + "/nested").c_str(), 0755));
    ASSERT_EQ(0, mkdir((server.Home() + "/nested/child").c_str(), 0755));
    WriteFile(server.Home() + "/nested/file", "f");
    // pyftpdlib refuses the RMD of a non-empty directory with a plain 550, which RMD reports as its own code.
    EXPECT_EQ(FTP_ERR_RMD_REPLY, client.RemoveDir("nested"));
    EXPECT_TRUE(Exists(server.Home() + "/nested/child"));
    EXPECT_FALSE(Exists(server.Home() + "/nested/file"));
}

} // namespace
