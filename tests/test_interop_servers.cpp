// One scripted session with all sixteen operations against each real server: pyftpdlib, vsftpd, proftpd and
// pure-ftpd, each started by the test on a free loopback port (and stopped by its process id). Where servers answer
// differently, the expectations below say what that server's real reply yields; docs/interop.md tabulates them.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "owned_records.h"
#include "log_capture.h"
#include "plxftpclient.h"
#include "real_server.h"

using namespace PLX_FTP_CLIENT;
using namespace plxtest;

namespace {

// What a server's replies classify to, where servers differ.
struct ServerAnswers {
    unsigned int cwdMissing;      // ChangeDir into a directory that does not exist
    unsigned int deleMissing;     // RemoveFile of a missing file
    unsigned int retrMissing;     // GetOneFile of a missing file
    unsigned int rmdNotEmpty;     // RemoveDir of a directory that still holds a subdirectory
};

const std::map<std::string, ServerAnswers>& Answers()
{
    static const std::map<std::string, ServerAnswers> answers = {
        // "550 No such file or directory." everywhere; "550 Directory not empty."
        {"pyftpdlib", {FTP_ERR_NO_SUCH_FILE, FTP_ERR_NO_SUCH_FILE, FTP_ERR_NO_SUCH_FILE, FTP_ERR_RMD_REPLY}},
        // "550 Failed to change directory.", "550 Delete operation failed.", "550 Failed to open file.",
        // "550 Remove directory operation failed."
        {"vsftpd", {FTP_ERR_CWD_REPLY, FTP_ERR_DELE_REPLY, FTP_ERR_REPLY_550, FTP_ERR_RMD_REPLY}},
        // "550 <path>: No such file or directory" (three times); "550 <path>: Directory not empty"
        {"proftpd", {FTP_ERR_NO_SUCH_FILE, FTP_ERR_NO_SUCH_FILE, FTP_ERR_NO_SUCH_FILE, FTP_ERR_RMD_REPLY}},
        // "550 Can't change directory to missing: No such file or directory", "550 Could not delete …: No such file
        // or directory", "550 Can't open …: No such file or directory", "550 Can't remove directory: Directory not
        // empty"
        {"pureftpd", {FTP_ERR_NO_SUCH_FILE, FTP_ERR_NO_SUCH_FILE, FTP_ERR_NO_SUCH_FILE, FTP_ERR_RMD_REPLY}},
    };
    return answers;
}

struct Setup {
    const char* kind;
    bool chroot;
};

void PrintTo(const Setup& setup, std::ostream* out) { *out << setup.kind << (setup.chroot ? "" : " (no chroot)"); }

std::string Random(size_t size, unsigned int seed)
{
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char& c : bytes) {
        c = static_cast<char>(random() & 0xFF);
    }
    return bytes;
}

class ServerSessionTest : public testing::TestWithParam<Setup> {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(server.Running()) << server.Error();
        char pattern[] = "/tmp/plx_test_local_XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(pattern));
        local = pattern;
    }
    void TearDown() override
    {
        std::string command = "rm -rf '" + local + "'";
        EXPECT_EQ(0, std::system(command.c_str()));
    }
    std::string Local(const std::string& name) const { return local + "/" + name; }
    std::string OnServer(const std::string& path) const { return server.Home() + "/" + path; }

    LogCapture logs;
    LaunchedServer server{GetParam().kind, "plxtester", "Secret-42", GetParam().chroot};
    std::string local;
};

TEST_P(ServerSessionTest, EverySixteenOperations)
{
    const ServerAnswers& answers = Answers().at(GetParam().kind);
    CFtpClient client("127.0.0.1", server.Port(), "plxtester", "Secret-42");
    // Small settings: a completion reply that arrives with the preliminary one is waited for about two seconds.
    client.setParam(1, 1, 1);
    ASSERT_EQ(FTP_OK, client.Login());

    // MakeDir of three levels, twice.
    EXPECT_EQ(FTP_OK, client.MakeDir("one/two/three"));
    EXPECT_EQ(FTP_OK, client.MakeDir("one/two/three"));
    struct stat info {};
    EXPECT_EQ(0, stat(OnServer("one/two/three").c_str(), &info));
    EXPECT_TRUE(S_ISDIR(info.st_mode));

    // Uploads: one file, one by directory, and a batch; 0, 1023, 1024, 1025 bytes and 10 MiB.
    const std::map<std::string, std::string> files = {
        {"empty.bin", ""},
        {"f1023.bin", Random(1023, 1)},
        {"f1024.bin", Random(1024, 2)},
        {"f1025.bin", Random(1025, 3)},
        {"big.bin", Random(10 * 1024 * 1024, 4)},
    };
    for (const auto& file : files) {
        WriteFile(Local(file.first), file.second);
    }
    EXPECT_EQ(FTP_OK, client.PutOneFileToFile(Local("empty.bin"), "one/empty.bin"));
    EXPECT_EQ(FTP_OK, client.PutOneFileToPath(Local("f1023.bin"), "one"));
    std::vector<Ftp_File_Pair> up = {{Local("f1024.bin"), "one/two/f1024.bin"},
                                     {Local("f1025.bin"), "one/two/f1025.bin"},
                                     {Local("big.bin"), "one/two/big.bin"}};
    EXPECT_EQ(FTP_OK, client.PutFile(up));
    EXPECT_EQ("", ReadFile(OnServer("one/empty.bin")));
    EXPECT_TRUE(ReadFile(OnServer("one/f1023.bin")) == files.at("f1023.bin"));
    EXPECT_TRUE(ReadFile(OnServer("one/two/big.bin")) == files.at("big.bin"));

    // Listings: names, sizes and types as put there.
    OwnedRecords one;
    ASSERT_EQ(FTP_OK, client.ListFile("one", one.items));
    std::map<std::string, std::pair<std::string, int>> expectedOne = {
        {"empty.bin", {"0", 0}}, {"f1023.bin", {"1023", 0}}, {"two", {one.Entries()["two"].first, 1}}};
    EXPECT_EQ(expectedOne, one.Entries());
    OwnedRecords two;
    ASSERT_EQ(FTP_OK, client.ListFile("one/two", two.items));
    std::map<std::string, std::pair<std::string, int>> expectedTwo = {{"f1024.bin", {"1024", 0}},
                                                                       {"f1025.bin", {"1025", 0}},
                                                                       {"big.bin", {"10485760", 0}},
                                                                       {"three", {two.Entries()["three"].first, 1}}};
    EXPECT_EQ(expectedTwo, two.Entries());

    // Existence, both forms.
    EXPECT_EQ(FTP_OK, client.checkOneFileExist("one", "f1023.bin"));
    EXPECT_EQ(FTP_OK, client.checkOneFileExist("one", "two"));
    EXPECT_EQ(FTP_ERR_REPLY_521, client.checkOneFileExist("one", "missing.bin"));
    EXPECT_EQ(FTP_OK, client.checkOneFileExist("one/two/f1025.bin"));
    EXPECT_EQ(FTP_ERR_REPLY_521, client.checkOneFileExist("one/two/missing.bin"));

    // Downloads: one file and a batch, byte for byte.
    EXPECT_EQ(FTP_OK, client.GetOneFile("one/two/big.bin", Local("back_big.bin"), false));
    EXPECT_TRUE(ReadFile(Local("back_big.bin")) == files.at("big.bin"));
    std::vector<Ftp_File_Pair> down = {{"one/empty.bin", Local("back_empty.bin")},
                                       {"one/f1023.bin", Local("back_f1023.bin")},
                                       {"one/two/f1024.bin", Local("back_f1024.bin")},
                                       {"one/two/f1025.bin", Local("back_f1025.bin")}};
    EXPECT_EQ(FTP_OK, client.GetFile(down, false));
    for (const char* name : {"empty.bin", "f1023.bin", "f1024.bin", "f1025.bin"}) {
        EXPECT_TRUE(ReadFile(Local(std::string("back_") + name)) == files.at(name)) << name;
    }
    EXPECT_EQ(answers.retrMissing, client.GetOneFile("one/missing.bin", Local("never.bin"), false));
    EXPECT_FALSE(Exists(Local("never.bin")));

    // Changing directory, removing a file.
    EXPECT_EQ(FTP_OK, client.ChangeDir("one/two"));
    EXPECT_EQ(answers.cwdMissing, client.ChangeDir("one/missing"));
    EXPECT_EQ(FTP_OK, client.RemoveFile("one/empty.bin"));
    EXPECT_FALSE(Exists(OnServer("one/empty.bin")));
    EXPECT_EQ(answers.deleMissing, client.RemoveFile("one/empty.bin"));

    // RemoveDir of a directory holding files, and of one holding a subdirectory.
    std::vector<Ftp_File_Pair> fill = {{Local("f1023.bin"), "one/two/three/a.bin"},
                                       {Local("f1025.bin"), "one/two/three/b.bin"}};
    ASSERT_EQ(FTP_OK, client.PutFile(fill));
    EXPECT_EQ(FTP_OK, client.RemoveDir("one/two/three"));
    EXPECT_FALSE(Exists(OnServer("one/two/three")));
    EXPECT_EQ(answers.rmdNotEmpty, client.RemoveDir("one"));
    EXPECT_TRUE(Exists(OnServer("one/two")));
    EXPECT_FALSE(Exists(OnServer("one/f1023.bin")));  // the files went before the RMD failed

    // Close, then a second session on the same object.
    EXPECT_EQ(FTP_OK, client.Close());
    ASSERT_EQ(FTP_OK, client.Login());
    EXPECT_EQ(FTP_OK, client.checkOneFileExist("one", "two"));
    EXPECT_EQ(FTP_OK, client.Close());

    // A wrong password.
    CFtpClient wrong("127.0.0.1", server.Port(), "plxtester", "not-the-password");
    wrong.setParam(5, 1, 1);
    EXPECT_EQ(FTP_ERR_PASS_DENIED, wrong.Login());
    wrong.Close();

    int waits = 0;
    for (const LogLine& line : logs.Errors()) {
        waits += line.code == FTP_ERR_BLANK_REPLY ? 1 : 0;
    }
    RecordProperty("completion_waits", waits);
}

TEST_P(ServerSessionTest, PortWithNoServer)
{
    unsigned short port = 0;
    {
        LaunchedServer probe("pyftpdlib", "u", "p");
        port = probe.Port();
    }
    CFtpClient client("127.0.0.1", port, "plxtester", "Secret-42");
    client.setParam(1, 1, 0);
    EXPECT_EQ(FTP_ERR_CONNECT, client.Login());
}

INSTANTIATE_TEST_SUITE_P(Servers, ServerSessionTest,
                         testing::Values(Setup{"pyftpdlib", true}, Setup{"vsftpd", true}, Setup{"vsftpd", false},
                                         Setup{"proftpd", true}, Setup{"proftpd", false}, Setup{"pureftpd", true},
                                         Setup{"pureftpd", false}),
                         [](const testing::TestParamInfo<Setup>& info) {
                             return std::string(info.param.kind) + (info.param.chroot ? "" : "_nochroot");
                         });

} // namespace
