// Faults from the server and from the caller: every one ends with the designed result code and log lines, no
// crash, no descriptor left open and the local file as the design leaves it.
#include <signal.h>

#include <algorithm>
#include <cstring>
#include <thread>

#include "owned_records.h"
#include "client_fixture.h"
#include "temp_dir.h"

using namespace PLX_FTP_CLIENT;
using namespace plxtest;

namespace {

const LogLine kBlank = Error(FTP_ERR_BLANK_REPLY, "FTPCLIENT_LOG:GetRetCode error : get response is blank line:",
                             "ftpcommand", "GetRetCode");

class FaultTest : public ClientTest {
protected:
    void SetUp() override
    {
        client->setParam(1, 1, 1);
        before = ClientDescriptors(server);
    }
    void TearDown() override
    {
        if (client) {
            client->Close();
        }
        EXPECT_EQ(before, ClientDescriptors(server)) << "a descriptor was left open";
    }
    void Serve(const std::string& content, size_t chunk = 0, int delayMs = 0)
    {
        DataPlan plan;
        plan.content = content;
        plan.chunk = chunk;
        plan.delayMs = delayMs;
        server.SetData(plan);
    }
    std::vector<LogLine> ErrorsOnly() const { return logs.Errors(); }
    // The lines received from position from on.
    Transcript Since(size_t from) const
    {
        Transcript all = server.Lines();
        return Transcript(all.begin() + static_cast<long>(std::min(from, all.size())), all.end());
    }

    TempDir dir;
    int before = 0;
};

// ---- The control connection closed by the server ------------------------------------------------------------------

TEST_F(FaultTest, ClosedBeforeTheGreeting)
{
    server.Greeting(Reply::Close());
    // The silent greeting is accepted after a second read; USER then meets the closed connection.
    EXPECT_EQ(FTP_ERR_BLANK_REPLY, client->Login());
    std::vector<LogLine> expected = {
        kBlank, kBlank, kBlank,
        Error(FTP_ERR_BLANK_REPLY, "FTPCLIENT_LOG:Ftp_user getRetCode error,the real retCode:", "ftpcommand",
              "Ftp_user")};
    EXPECT_EQ(expected, ErrorsOnly());
}

TEST_F(FaultTest, ClosedInTheMiddleOfAReplyLine)
{
    server.On("USER", Reply("331 Pass").CloseControl());
    EXPECT_EQ(FTP_ERR_BLANK_REPLY, client->Login());
    std::vector<LogLine> expected = {
        kBlank, Error(FTP_ERR_BLANK_REPLY, "FTPCLIENT_LOG:Ftp_user getRetCode error,the real retCode:", "ftpcommand",
                      "Ftp_user")};
    EXPECT_EQ(expected, ErrorsOnly());
}

TEST_F(FaultTest, ClosedInTheMiddleOfAMultiLineReply)
{
    // The first line arrives whole and is kept; the second is cut off by the close.
    server.On("PASS", Reply::Split({"230-Welcome\r\n", "230-more"}, 100).CloseControl());
    EXPECT_EQ(FTP_ERR_BLANK_REPLY, client->Login());
    std::vector<LogLine> expected = {
        kBlank, Error(FTP_ERR_BLANK_REPLY, "FTPCLIENT_LOG:Ftp_pass getRetCode error,the real retCode:230-Welcome\r\n",
                      "ftpcommand", "Ftp_pass")};
    EXPECT_EQ(expected, ErrorsOnly());
}

TEST_F(FaultTest, ClosedRightAfterPasv)
{
    ASSERT_EQ(FTP_OK, client->Login());
    server.On("PASV", Reply::Close());
    logs.Clear();
    EXPECT_EQ(FTP_ERR_BLANK_REPLY, client->GetOneFile("f", dir / "f", false));
    EXPECT_FALSE(FileExists(dir / "f"));
    std::vector<LogLine> expected = {
        kBlank, Error(FTP_ERR_BLANK_REPLY, "FTPCLIENT_LOG:Ftp_pasv getRetCode error,the real retCode:", "ftpcommand",
                      "Ftp_pasv")};
    EXPECT_EQ(expected, ErrorsOnly());
    // Later commands find the connection gone: the first send may still pass, then sends fail.
    unsigned int result = client->ChangeDir("x");
    EXPECT_TRUE(result == FTP_ERR_BLANK_REPLY || result == FTP_ERR_SEND) << std::hex << result;
    EXPECT_EQ(FTP_ERR_SEND, client->ChangeDir("y"));
}

TEST_F(FaultTest, ClosedDuringAListing)
{
    ASSERT_EQ(FTP_OK, client->Login());
    server.OnHandle("LIST", [](Session& s, const std::string&) {
        s.Send("150 Here comes the directory listing.\r\n");
        s.AcceptData();
        DataPlan plan;
        plan.content = "-rw-r--r-- 1 u g 1 Jan 1 2020 one\r\n-rw-r--r-- 1 u g 2 Jan 1 2020 tw";
        s.SendData(plan);
        s.CloseControl();  // the session ends and takes the data connection with it
    });
    OwnedRecords records;
    EXPECT_EQ(FTP_OK, client->ListFile("d", records.items));  // what came is parsed; the completion read fails quietly
    ASSERT_EQ(1u, records.items.size());
    EXPECT_EQ("one", records.items[0]->strFileName);
}

TEST_F(FaultTest, ClosedDuringADownload)
{
    ASSERT_EQ(FTP_OK, client->Login());
    const std::string content = RandomBytes(3000);
    server.OnHandle("RETR", [&content](Session& s, const std::string&) {
        s.Send("150 Opening BINARY mode data connection.\r\n");
        s.AcceptData();
        DataPlan plan;
        plan.content = content.substr(0, 2000);
        s.SendData(plan);
        s.CloseControl();
    });
    EXPECT_EQ(FTP_OK, client->GetOneFile("f", dir / "f", false));
    EXPECT_TRUE(Read(dir / "f") == content.substr(0, 2000));  // the partial file stays
}

TEST_F(FaultTest, ClosedDuringAnUpload)
{
    ASSERT_EQ(FTP_OK, client->Login());
    Write(dir / "up", RandomBytes(2 * 1024 * 1024));
    server.OnHandle("STOR", [](Session& s, const std::string&) {
        s.Send("150 Ok to send data.\r\n");
        s.AcceptData();
        s.CloseControl();
    });
    EXPECT_EQ(FTP_OK, client->PutOneFileToFile(dir / "up", "up"));
    EXPECT_EQ(2u * 1024 * 1024, Read(dir / "up").size());  // the local file is only read
}

// ---- Odd replies --------------------------------------------------------------------------------------------------

TEST_F(FaultTest, ReplyLineOf64KiB)
{
    ASSERT_EQ(FTP_OK, client->Login());
    const std::string text = "200 " + std::string(64 * 1024, 'x') + "\r\n";
    server.On("CWD", text);
    logs.Clear();
    EXPECT_EQ(FTP_OK, client->ChangeDir("d"));
    EXPECT_EQ(std::vector<LogLine>{Error(0, "FTPCLIENT_LOG:Ftp_cwd getRetCode error,the real retCode:" + text,
                                         "ftpcommand", "Ftp_cwd")},
              ErrorsOnly());
}

TEST_F(FaultTest, NulByteEndsTheReplyTextOfItsReceive)
{
    ASSERT_EQ(FTP_OK, client->Login());
    server.On("CWD", std::string("250 ok\0junk\r\n", 13));
    logs.Clear();
    EXPECT_EQ(FTP_OK, client->ChangeDir("d"));
    EXPECT_TRUE(ErrorsOnly().empty());
}

TEST_F(FaultTest, NulByteFirstMakesTheReceiveCountAsEmpty)
{
    ASSERT_EQ(FTP_OK, client->Login());
    server.On("CWD", std::string("\0" "250 ok\r\n", 9));
    logs.Clear();
    EXPECT_EQ(FTP_ERR_BLANK_REPLY, client->ChangeDir("d"));
}

TEST_F(FaultTest, BareCarriageReturnNeverEndsALine)
{
    ASSERT_EQ(FTP_OK, client->Login());
    server.On("CWD", "250 ok\r");
    EXPECT_EQ(FTP_ERR_BLANK_REPLY, client->ChangeDir("d"));
}

TEST_F(FaultTest, BareLineFeedEndsALine)
{
    ASSERT_EQ(FTP_OK, client->Login());
    server.On("CWD", "250 ok\n");
    EXPECT_EQ(FTP_OK, client->ChangeDir("d"));
    server.On("CWD", "550 \xff\xfe\x80 high bytes\n");
    EXPECT_EQ(FTP_ERR_CWD_REPLY, client->ChangeDir("d"));
}

TEST_F(FaultTest, MultiLineReplyWhoseFinalCodeDiffers)
{
    ASSERT_EQ(FTP_OK, client->Login());
    server.On("DELE", "250-deleted\r\n550 but not really\r\n");
    EXPECT_EQ(FTP_ERR_DELE_REPLY, client->RemoveFile("f"));  // the final line's code decides
}

// ---- Odd listings -------------------------------------------------------------------------------------------------

TEST_F(FaultTest, ListingOf200000Lines)
{
    ASSERT_EQ(FTP_OK, client->Login());
    std::string listing;
    for (int i = 0; i < 200000; ++i) {
        listing += "-rw-r--r-- 1 u g " + std::to_string(i) + " Jan  1  2020 f" + std::to_string(i) + "\r\n";
    }
    Serve(listing, 65536);
    OwnedRecords records;
    EXPECT_EQ(FTP_OK, client->ListFile("big", records.items));
    ASSERT_EQ(200000u, records.items.size());
    EXPECT_EQ("f199999", records.items.back()->strFileName);
    EXPECT_EQ("199999", records.items.back()->strFileSize);
}

TEST_F(FaultTest, ListingWithNulBytes)
{
    ASSERT_EQ(FTP_OK, client->Login());
    Serve(std::string("-rw-r--r-- 1 u g 1 Jan  1  2020 a\0b\r\n-rw-r--r-- 1 u g 1 Jan  1  2020 c\r\n", 72));
    OwnedRecords records;
    EXPECT_EQ(FTP_OK, client->ListFile("d", records.items));
    // The NUL cuts the rest of its block: the one block holds both lines, so only "a" is left, without a line end.
    EXPECT_TRUE(records.items.empty());
}

TEST_F(FaultTest, ListingLineOf100KiB)
{
    ASSERT_EQ(FTP_OK, client->Login());
    const std::string name(100 * 1024, 'n');
    Serve("-rw-r--r-- 1 u g 1 Jan  1  2020 " + name + "\r\n", 4096);
    OwnedRecords records;
    EXPECT_EQ(FTP_OK, client->ListFile("d", records.items));
    ASSERT_EQ(1u, records.items.size());
    EXPECT_EQ(name, records.items[0]->strFileName);
}

// ---- Odd passive replies ------------------------------------------------------------------------------------------

class PasvFaultTest : public FaultTest, public testing::WithParamInterface<const char*> {};

TEST_P(PasvFaultTest, BadAddressInThePassiveReply)
{
    ASSERT_EQ(FTP_OK, client->Login());
    server.On("PASV", GetParam());
    logs.Clear();
    unsigned int result = client->GetOneFile("f", dir / "f", false);
    EXPECT_TRUE(result == FTP_ERR_CONNECT || result == FTP_ERR_PASV_PARSE) << std::hex << result;
    EXPECT_FALSE(FileExists(dir / "f"));
    // One line for the failed parse or connect, and one more when the reply is not a 227.
    const bool passive = std::string(GetParam()).compare(0, 4, "227 ") == 0;
    EXPECT_EQ(passive ? 1u : 2u, ErrorsOnly().size());
    // The session is still usable.
    EXPECT_EQ(FTP_OK, client->ChangeDir("x"));
}

INSTANTIATE_TEST_SUITE_P(Replies, PasvFaultTest,
                         testing::Values("227 Entering Passive Mode (127,0,0,1,0,0).\r\n",      // port 0
                                         "227 Entering Passive Mode (127,0,0,1,256,0).\r\n",    // 65536 -> 0
                                         "227 Entering Passive Mode (127,0,0,1).\r\n",          // no port
                                         "227 Entering Passive Mode (127,0,0,1,,).\r\n",        // empty fields
                                         "227 Entering Passive Mode (127,0,0,1,x,y).\r\n",      // garbage numbers
                                         "227 garbage\r\n",                                     // no address
                                         "227 (127,0,0,1,4,1\r\n",                              // no parenthesis
                                         "200 (1,2,3,4,5,6)\r\n"));                             // not 227

TEST_F(FaultTest, PassiveReplyPointingAtAClosedPort)
{
    ASSERT_EQ(FTP_OK, client->Login());
    server.On("PASV", PassiveReply(ClosedPort()));
    EXPECT_EQ(FTP_ERR_CONNECT, client->GetOneFile("f", dir / "f", false));
}

TEST_F(FaultTest, NumbersAbove255WrapOntoARealPort)
{
    ASSERT_EQ(FTP_OK, client->Login());
    Serve("wrapped");
    // (p1 + 256) * 256 + p2 is the real port plus 65536, which 16 bits turn back into the real port.
    server.OnHandle("PASV", [](Session& s, const std::string&) {
        unsigned short port = s.OpenPassive();
        s.Send("227 Entering Passive Mode (127,0,0,1," + std::to_string(port / 256 + 256) + "," +
               std::to_string(port % 256) + ").\r\n");
    });
    EXPECT_EQ(FTP_OK, client->GetOneFile("f", dir / "f", false));
    EXPECT_EQ("wrapped", Read(dir / "f"));
}

// ---- The data connection breaking -----------------------------------------------------------------------------------

TEST_F(FaultTest, DataConnectionResetInTheMiddleOfADownload)
{
    ASSERT_EQ(FTP_OK, client->Login());
    const std::string content = RandomBytes(8192);
    server.OnHandle("RETR", [&content](Session& s, const std::string&) {
        s.Send("150 Opening BINARY mode data connection.\r\n");
        s.AcceptData();
        DataPlan plan;
        plan.content = content.substr(0, 3000);
        s.SendData(plan);
        s.Pause(200);
        s.ResetData();
        s.Send("426 Connection closed; transfer aborted.\r\n");
    });
    EXPECT_EQ(FTP_OK, client->GetOneFile("f", dir / "f", false));
    EXPECT_TRUE(Read(dir / "f") == content.substr(0, 3000));
    EXPECT_EQ(FTP_OK, client->ChangeDir("x"));  // the 426 was read as the completion reply
}

TEST_F(FaultTest, ServerStopsReadingAnUploadThenCloses)
{
    ASSERT_EQ(FTP_OK, client->Login());
    Write(dir / "up", RandomBytes(8 * 1024 * 1024));
    server.OnHandle("STOR", [](Session& s, const std::string&) {
        s.Send("150 Ok to send data.\r\n");
        s.AcceptData();
        s.Pause(300);  // reads nothing while the client's sends fill the socket
        s.ResetData();
        s.Send("426 Failure writing network stream.\r\n");
    });
    EXPECT_EQ(FTP_OK, client->PutOneFileToFile(dir / "up", "up"));
    EXPECT_EQ(FTP_OK, client->ChangeDir("x"));
}

// ---- SIGPIPE: a vanished peer never kills the host ------------------------------------------------------------------

bool SigpipeIsDefault()
{
    struct sigaction current {};
    sigaction(SIGPIPE, nullptr, &current);
    return current.sa_handler == SIG_DFL;
}

TEST_F(FaultTest, UploadToADroppedDataConnectionDoesNotRaiseSigpipe)
{
    ASSERT_TRUE(SigpipeIsDefault());  // the process would die of a SIGPIPE
    ASSERT_EQ(FTP_OK, client->Login());
    Write(dir / "up", RandomBytes(4 * 1024 * 1024));
    server.OnHandle("STOR", [](Session& s, const std::string&) {
        s.Send("150 Ok to send data.\r\n");
        s.AcceptData();
        s.CloseData();
        s.Send("426 Connection closed.\r\n");
    });
    EXPECT_EQ(FTP_OK, client->PutOneFileToFile(dir / "up", "up"));
    EXPECT_TRUE(SigpipeIsDefault());  // and the library left the setting alone
}

TEST_F(FaultTest, CommandsAfterTheServerClosedDoNotRaiseSigpipe)
{
    ASSERT_TRUE(SigpipeIsDefault());
    ASSERT_EQ(FTP_OK, client->Login());
    server.On("CWD", Reply::Close());
    EXPECT_EQ(FTP_ERR_BLANK_REPLY, client->ChangeDir("a"));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    // The first send after the close may still be taken by the kernel; from then on every send fails.
    std::vector<unsigned int> results;
    for (int i = 0; i < 5; ++i) {
        results.push_back(client->MakeDir("b"));
    }
    for (unsigned int result : results) {
        EXPECT_TRUE(result == FTP_ERR_SEND || result == FTP_ERR_BLANK_REPLY) << std::hex << result;
    }
    EXPECT_EQ(FTP_ERR_SEND, results.back());
    EXPECT_EQ(FTP_ERR_CLOSE, client->Close());
    EXPECT_TRUE(SigpipeIsDefault());
}

// ---- Caller arguments -----------------------------------------------------------------------------------------------

TEST_F(FaultTest, EmptyArguments)
{
    ASSERT_EQ(FTP_OK, client->Login());
    size_t from = server.Lines().size();
    EXPECT_EQ(FTP_OK, client->ChangeDir(""));
    EXPECT_EQ(FTP_OK, client->RemoveFile(""));
    EXPECT_EQ(FTP_OK, client->MakeDir(""));
    Transcript sent = Since(from);
    EXPECT_EQ((Transcript{"CWD \r\n", "DELE \r\n", "CWD /\r\n"}), sent);
    EXPECT_EQ(FTP_ERR_LOCAL_CREATE, client->GetOneFile("f", "", false));
    EXPECT_EQ(FTP_ERR_LOCAL_OPEN, client->PutOneFileToFile("", "f"));
}

TEST_F(FaultTest, EmptyUserAndPassword)
{
    CFtpClient anonymous("127.0.0.1", server.Port(), "", "");
    anonymous.setParam(1, 1, 1);
    EXPECT_EQ(FTP_OK, anonymous.Login());
    EXPECT_EQ(FTP_OK, anonymous.Close());
    EXPECT_EQ((Transcript{"USER \r\n", "PASS \r\n", "PWD\r\n", "QUIT\r\n"}), server.Lines());
}

TEST_F(FaultTest, PathsOfOnlySlashesOrBackslashes)
{
    ASSERT_EQ(FTP_OK, client->Login());
    size_t from = server.Lines().size();
    EXPECT_EQ(FTP_OK, client->ChangeDir("///"));
    EXPECT_EQ(FTP_OK, client->ChangeDir("\\\\"));
    EXPECT_EQ(FTP_OK, client->MakeDir("///"));
    Transcript sent = Since(from);
    EXPECT_EQ((Transcript{"CWD /home/u///\r\n", "CWD /home/u\\\\\r\n", "CWD /\r\n", "CWD home/\r\n", "CWD u/\r\n"}),
              sent);
}

TEST_F(FaultTest, ArgumentsOf260And261Bytes)
{
    ASSERT_EQ(FTP_OK, client->Login());
    const std::string fits(252, 'a');  // "/home/u/" + 252 = 260
    const std::string over(253, 'a');
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->RemoveFile(over));
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->MakeDir(over));
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->RemoveDir(over));
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->GetOneFile(over, dir / "x", false));
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->PutOneFileToFile(dir / "x", over));
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->ChangeDir(std::string(261, 'a')));
    OwnedRecords records;
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->ListFile(std::string(261, 'a'), records.items));
    EXPECT_EQ(FTP_OK, client->RemoveFile(fits));
    EXPECT_EQ(FTP_OK, client->ChangeDir(std::string(260, 'a')));
}

TEST_F(FaultTest, NamesWithBlanksAndNonAsciiBytes)
{
    ASSERT_EQ(FTP_OK, client->Login());
    Serve("x");
    size_t from = server.Lines().size();
    EXPECT_EQ(FTP_OK, client->GetOneFile("my dir/my file.txt", dir / "local file", false));
    EXPECT_EQ(FTP_OK, client->RemoveFile("d\xc3\xb6n\xc3\xbc\xc5\x9f.txt"));
    Transcript sent = Since(from);
    EXPECT_EQ((Transcript{"TYPE I\r\n", "CWD /home/u/my dir\r\n", "PASV\r\n", "RETR my file.txt\r\n",
                          "DELE /home/u/d\xc3\xb6n\xc3\xbc\xc5\x9f.txt\r\n"}),
              sent);
    EXPECT_EQ("x", Read(dir / "local file"));
}

TEST_F(FaultTest, EmbeddedNulEndsTheArgument)
{
    ASSERT_EQ(FTP_OK, client->Login());
    size_t from = server.Lines().size();
    EXPECT_EQ(FTP_OK, client->RemoveFile(std::string("abc\0def", 7)));
    EXPECT_EQ(FTP_OK, client->MakeDir(std::string("x\0y", 3)));
    Transcript sent = Since(from);
    // The level "x\0y/" is sent as the C string it converts to: "x".
    EXPECT_EQ((Transcript{"DELE /home/u/abc\r\n", "CWD /\r\n", "CWD home/\r\n", "CWD u/\r\n", "CWD x\r\n"}), sent);
}

// ---- No command injection through arguments -------------------------------------------------------------------------

class InjectionTest : public FaultTest, public testing::WithParamInterface<const char*> {
protected:
    // Nothing after the login may carry the smuggled command.
    void ExpectNothingInjected(size_t from)
    {
        Transcript all = server.Lines();
        for (size_t i = from; i < all.size(); ++i) {
            EXPECT_EQ(std::string::npos, all[i].find("INJECTED")) << all[i];
        }
    }
};

TEST_P(InjectionTest, LineBreakInAnArgumentIsRefusedBeforeSending)
{
    const std::string evil = std::string("a") + GetParam() + "DELE INJECTED";
    CFtpClient user("127.0.0.1", server.Port(), "u" + std::string(GetParam()) + "INJECTED", "p");
    user.setParam(1, 1, 1);
    EXPECT_EQ(FTP_ERR_SEND, user.Login());
    EXPECT_EQ(std::vector<LogLine>{Error(FTP_ERR_SEND,
                                         "FTPCLIENT_LOG:Ftp_user refused the argument: it holds a line break",
                                         "ftpcommand", "Ftp_user")},
              logs.Errors());
    user.Close();
    CFtpClient pass("127.0.0.1", server.Port(), "u", "p" + std::string(GetParam()) + "INJECTED");
    pass.setParam(1, 1, 1);
    EXPECT_EQ(FTP_ERR_SEND, pass.Login());
    pass.Close();

    ASSERT_EQ(FTP_OK, client->Login());
    size_t from = server.Lines().size();
    logs.Clear();
    Write(dir / "local", "data");
    OwnedRecords records;
    EXPECT_EQ(FTP_ERR_SEND, client->ChangeDir(evil));
    EXPECT_EQ(FTP_ERR_SEND, client->RemoveFile(evil));
    EXPECT_EQ(FTP_ERR_SEND, client->MakeDir(evil));
    EXPECT_EQ(FTP_ERR_SEND, client->RemoveDir(evil));
    EXPECT_EQ(FTP_ERR_SEND, client->ListFile(evil, records.items));
    EXPECT_EQ(FTP_ERR_SEND, client->GetOneFile(evil, dir / "got", false));
    EXPECT_EQ(FTP_ERR_SEND, client->PutOneFileToFile(dir / "local", evil));
    std::vector<Ftp_File_Pair> down = {{evil, dir / "got"}};
    EXPECT_EQ(FTP_ERR_SEND, client->GetFile(down, false));
    std::vector<Ftp_File_Pair> up = {{dir / "local", evil}};
    EXPECT_EQ(FTP_ERR_SEND, client->PutFile(up));
    EXPECT_EQ(FTP_ERR_REPLY_521, client->checkOneFileExist(evil, "x"));
    EXPECT_FALSE(FileExists(dir / "got"));
    ExpectNothingInjected(from);

    std::vector<std::string> refused;
    for (const LogLine& line : logs.Errors()) {
        EXPECT_EQ(FTP_ERR_SEND, line.code);
        EXPECT_EQ(line.function + " refused the argument: it holds a line break",
                  line.text.substr(std::strlen("FTPCLIENT_LOG:")));
        refused.push_back(line.function);
    }
    std::vector<std::string> expected = {"Ftp_cwd", "Ftp_dele", "Ftp_cwd", "Ftp_mkd", "Ftp_cwd",
                                         "Ftp_cwd", "Ftp_GetFile", "Ftp_PutFile", "Ftp_GetFile",
                                         "Ftp_PutFile", "Ftp_cwd"};
    EXPECT_EQ(expected, refused);
}

INSTANTIATE_TEST_SUITE_P(LineBreaks, InjectionTest, testing::Values("\r\n", "\n", "\r"),
                         [](const testing::TestParamInfo<const char*>& info) {
                             return std::string(info.param) == "\r\n" ? std::string("CRLF")
                                                                      : (info.param[0] == '\n' ? "LF" : "CR");
                         });

} // namespace
