// The passive data link (PASV and its reply) and the three data transfers: list, retrieve, store.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <thread>

#include "command_fixture.h"
#include "temp_dir.h"

using namespace PLX_FTP_CLIENT;
using namespace plxtest;

namespace {

// ---- Parsing the passive reply ------------------------------------------------------------------------------------

class PasvParseTest : public testing::Test {
protected:
    unsigned int Parse(const std::string& host, const std::string& reply, unsigned short& port)
    {
        cmd.SetServerInfo(host, 21, "u", "p");
        return cmd.GetPasvPort(reply, port);
    }
    LogCapture logs;
    CFtpCommand cmd;
};

TEST_F(PasvParseTest, PortIsFirstTimes256PlusSecond)
{
    unsigned short port = 1;
    EXPECT_EQ(FTP_OK, Parse("192.168.0.10", "227 Entering Passive Mode (192,168,0,10,195,80).\r\n", port));
    EXPECT_EQ(50000, port);
    EXPECT_TRUE(logs.All().empty());
}

TEST_F(PasvParseTest, HostGivenAsANameIsNotFound)
{
    unsigned short port = 7;
    const std::string reply = "227 Entering Passive Mode (127,0,0,1,195,80).\r\n";
    EXPECT_EQ(FTP_ERR_PASV_PARSE, Parse("localhost", reply, port));
    EXPECT_EQ(7, port);
    EXPECT_EQ(std::vector<LogLine>{Error(454454545u, "FTPCLIENT_LOG:GetPasvPort error:" + reply, "ftpcommand",
                                         "GetPasvPort")},
              logs.All());
}

TEST_F(PasvParseTest, MissingClosingParenthesisFails)
{
    unsigned short port = 7;
    EXPECT_EQ(FTP_ERR_PASV_PARSE, Parse("192.168.0.10", "227 =192,168,0,10,4,1\r\n", port));
    EXPECT_EQ(1u, logs.All().size());
}

TEST_F(PasvParseTest, MissingPortCommaSucceedsSilentlyWithThePortUnchanged)
{
    unsigned short port = 0;
    EXPECT_EQ(FTP_OK, Parse("192.168.0.10", "227 Entering Passive Mode (192,168,0,10,195).\r\n", port));
    EXPECT_EQ(0, port);
    port = 99;
    EXPECT_EQ(FTP_OK, Parse("192.168.0.10", "227 (192,168,0,10)\r\n", port));
    EXPECT_EQ(99, port);
    EXPECT_TRUE(logs.All().empty());
}

TEST_F(PasvParseTest, NumbersAboveAByteAreNotRefused)
{
    unsigned short port = 0;
    EXPECT_EQ(FTP_OK, Parse("192.168.0.10", "227 (192,168,0,10,300,1)\r\n", port));
    EXPECT_EQ(11265, port);  // (300 * 256 + 1) truncated to 16 bits
    EXPECT_EQ(FTP_OK, Parse("192.168.0.10", "227 (192,168,0,10,x,y)\r\n", port));
    EXPECT_EQ(0, port);
}

TEST_F(PasvParseTest, SubstringSearchMatchesALongerAddressAndUsesMisplacedFields)
{
    unsigned short port = 0;
    EXPECT_EQ(FTP_OK, Parse("10.0.0.1", "227 Entering Passive Mode (10,0,0,12,4,1)\r\n", port));
    EXPECT_EQ(4, port);  // the fields after "10,0,0,1" are "" and "4,1"
}

// ---- PASV on the wire ---------------------------------------------------------------------------------------------

using PasvTest = CommandTest;

TEST_F(PasvTest, PasvReadsThePortFromTheReply)
{
    Connect();
    server.On("PASV", "227 Entering Passive Mode (127,0,0,1,4,1).\r\n");
    unsigned short port = 0;
    EXPECT_EQ(FTP_OK, cmd.Ftp_pasv(port));
    EXPECT_EQ(1025, port);
    EXPECT_EQ(Transcript{"PASV\r\n"}, server.Lines());
    EXPECT_TRUE(logs.NotInfo().empty());
}

TEST_F(PasvTest, NonPassiveReplyAcceptedByTheReaderIsLoggedThenParsed)
{
    Connect();
    const std::string reply = "200 PASV ignored\r\n";
    server.On("PASV", reply);
    unsigned short port = 0;
    EXPECT_EQ(FTP_ERR_PASV_PARSE, cmd.Ftp_pasv(port));
    std::vector<LogLine> expected = {
        Error(0, "FTPCLIENT_LOG:Ftp_pasv getRetCode error,the real retCode:" + reply, "ftpcommand", "Ftp_pasv"),
        Error(454454545u, "FTPCLIENT_LOG:GetPasvPort error:" + reply, "ftpcommand", "GetPasvPort"),
    };
    EXPECT_EQ(expected, logs.NotInfo());
}

TEST_F(PasvTest, NonPassiveReplyWithTheAddressStillGivesAPort)
{
    Connect();
    server.On("PASV", "200 (127,0,0,1,0,21)\r\n");
    unsigned short port = 0;
    EXPECT_EQ(FTP_OK, cmd.Ftp_pasv(port));  // the "227 " test only logs; the parse decides
    EXPECT_EQ(21, port);
    EXPECT_EQ(1u, logs.Errors().size());
}

TEST_F(PasvTest, RefusedPasvReturnsTheReadersCode)
{
    Connect();
    server.On("PASV", "425 Can't open passive connection\r\n");
    unsigned short port = 5;
    EXPECT_EQ(FTP_ERR_REPLY_425, cmd.Ftp_pasv(port));
    EXPECT_EQ(5, port);
    EXPECT_EQ(std::vector<LogLine>{Error(FTP_ERR_REPLY_425,
                                         "FTPCLIENT_LOG:Ftp_pasv getRetCode error,the real retCode:425 Can't open passive connection\r\n",
                                         "ftpcommand", "Ftp_pasv")},
              logs.NotInfo());
}

TEST_F(PasvTest, PasvWithoutConnectionFailsToSend)
{
    unsigned short port = 0;
    EXPECT_EQ(FTP_ERR_SEND, cmd.Ftp_pasv(port));
    EXPECT_EQ(FTP_ERR_SEND, cmd.CreatePasvDataLink());
}

TEST_F(PasvTest, DataLinkConnectsToTheAnnouncedPort)
{
    Connect();
    DataPlan plan;
    plan.content = "hello";
    server.SetData(plan);
    EXPECT_EQ(FTP_OK, cmd.CreatePasvDataLink());
    bool complete = false;
    EXPECT_EQ(FTP_OK, cmd.Ftp_list("", complete));
    char buf[16] = {};
    EXPECT_EQ(5, cmd.RecvData(buf, sizeof(buf), 2));
    EXPECT_STREQ("hello", buf);
    EXPECT_EQ(0, cmd.CloseDataSock());
    EXPECT_EQ(1, server.DataConnections());
}

TEST_F(PasvTest, DataLinkToAClosedPortFailsWithItsLogLine)
{
    Connect();
    unsigned short closed = ClosedPort();
    server.On("PASV", PassiveReply(closed));
    EXPECT_EQ(FTP_ERR_CONNECT, cmd.CreatePasvDataLink());
    EXPECT_EQ(std::vector<LogLine>{Error(4294967295u, "FTPCLIENT_LOG:CreateDataLink errorIP:0Port:" + std::to_string(closed),
                                         "ftpcommand", "CreatePasvDataLink")},
              logs.NotInfo());
}

TEST_F(PasvTest, ShortPortFieldConnectsToPortZeroAndFails)
{
    Connect();
    server.On("PASV", "227 Entering Passive Mode (127,0,0,1,195).\r\n");
    EXPECT_EQ(FTP_ERR_CONNECT, cmd.CreatePasvDataLink());
    EXPECT_EQ(std::vector<LogLine>{Error(4294967295u, "FTPCLIENT_LOG:CreateDataLink errorIP:0Port:0", "ftpcommand",
                                         "CreatePasvDataLink")},
              logs.NotInfo());
}

TEST_F(PasvTest, DataConnectThatNeverCompletesTimesOutAfterFiveSeconds)
{
    // A listener whose accept queue is full drops the connection attempt, so the connect hangs.
    StalledListener stalled;
    Connect(1, 1, 1);  // the data connect does not use these settings
    server.On("PASV", PassiveReply(stalled.Port()));
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(FTP_ERR_CONNECT, cmd.CreatePasvDataLink());
    double took = SecondsSince(start);
    EXPECT_GE(took, 4.9);
    EXPECT_LT(took, 8.0);
}

// ---- Transfers ----------------------------------------------------------------------------------------------------

class TransferTest : public CommandTest {
protected:
    void SetUp() override
    {
        Connect(2, 1, 1);
        before = ClientDescriptors(server);
    }

    DataPlan Plan(const std::string& content, size_t chunk = 0, int delayMs = 0)
    {
        DataPlan plan;
        plan.content = content;
        plan.chunk = chunk;
        plan.delayMs = delayMs;
        return plan;
    }

    void ExpectNoDescriptorLeft() { EXPECT_EQ(before, ClientDescriptors(server)); }

    TempDir dir;
    int before = 0;
};

TEST_F(TransferTest, DownloadOrderOnTheWire)
{
    bool dataConnectedFirst = false;
    server.OnHandle("RETR", [&](Session& s, const std::string& name) {
        dataConnectedFirst = s.DataPending();
        s.Send("150 Opening BINARY mode data connection for " + name + "\r\n");
        s.AcceptData();
        s.SendData(Plan("0123456789"));
        s.CloseData();
        s.Send("226 Transfer complete.\r\n");
    });
    EXPECT_EQ(FTP_OK, cmd.Ftp_GetFile("/d/f.bin", dir / "f.bin", false));
    EXPECT_EQ((Transcript{"CWD /d\r\n", "PASV\r\n", "RETR f.bin\r\n"}), server.Lines());
    EXPECT_TRUE(dataConnectedFirst);
    EXPECT_EQ("0123456789", Read(dir / "f.bin"));
    EXPECT_TRUE(logs.NotInfo().empty());
    ExpectNoDescriptorLeft();
    // The completion reply was consumed: the next command reads its own reply.
    EXPECT_EQ(FTP_OK, cmd.Ftp_cwd("/"));
    EXPECT_TRUE(logs.Errors().empty());
}

TEST_F(TransferTest, DownloadArrivesInBlocksOfAtMost1024Bytes)
{
    const std::string content = RandomBytes(3000);
    server.SetData(Plan(content, 3000));
    EXPECT_EQ(FTP_OK, cmd.Ftp_GetFile("/f", dir / "f", false));
    EXPECT_TRUE(Read(dir / "f") == content);
    ExpectNoDescriptorLeft();
}

TEST_F(TransferTest, EmptyRemoteFileCreatesAnEmptyLocalFile)
{
    server.SetData(Plan(""));
    EXPECT_EQ(FTP_OK, cmd.Ftp_GetFile("/empty", dir / "empty", false));
    EXPECT_TRUE(FileExists(dir / "empty"));
    EXPECT_EQ("", Read(dir / "empty"));
    ExpectNoDescriptorLeft();
}

TEST_F(TransferTest, DownloadIntoAMissingLocalFolderFailsNamingTheRemotePath)
{
    server.SetData(Plan("data"));
    EXPECT_EQ(FTP_ERR_LOCAL_CREATE, cmd.Ftp_GetFile("/r/file.txt", dir / "no/such/file.txt", false));
    EXPECT_EQ(std::vector<LogLine>{Error(FTP_ERR_LOCAL_CREATE, "FTPCLIENT_LOG:Can not create file/r/file.txt",
                                         "ftpcommand", "Ftp_GetFile")},
              logs.NotInfo());
    ExpectNoDescriptorLeft();
    // One completion reply was read, so the session stays in step.
    EXPECT_EQ(FTP_OK, cmd.Ftp_cwd("/"));
    EXPECT_TRUE(logs.Errors().size() == 1u);
}

TEST_F(TransferTest, RefusedRetrCreatesNoFileClosesTheDataAndReadsOneReply)
{
    server.On("RETR", Reply("550 Failed to open file.\r\n").Pause(100).Then("226 stray completion\r\n"));
    EXPECT_EQ(FTP_ERR_REPLY_550, cmd.Ftp_GetFile("/missing", dir / "missing", false));
    EXPECT_FALSE(FileExists(dir / "missing"));
    ExpectNoDescriptorLeft();
    EXPECT_EQ(FTP_OK, cmd.Ftp_cwd("/"));
    EXPECT_TRUE(logs.Errors().empty());  // the stray 226 went to the transfer, not to CWD
}

TEST_F(TransferTest, FailingCwdStopsBeforePasv)
{
    server.On("CWD", "550 Failed to change directory.\r\n", 2);
    EXPECT_EQ(FTP_ERR_CWD_REPLY, cmd.Ftp_GetFile("/nodir/f", dir / "f", false));
    EXPECT_EQ(FTP_ERR_CWD_REPLY, cmd.Ftp_PutFile(dir / "f", "/nodir/f"));
    EXPECT_EQ((Transcript{"CWD /nodir\r\n", "CWD /nodir\r\n"}), server.Lines());
    EXPECT_FALSE(FileExists(dir / "f"));
    ExpectNoDescriptorLeft();
}

TEST_F(TransferTest, FailingPasvStopsBeforeTheCommandAndReadsNothingMore)
{
    server.On("PASV", "425 No passive ports\r\n", 3);
    EXPECT_EQ(FTP_ERR_REPLY_425, cmd.Ftp_GetFile("/d/f", dir / "f", false));
    EXPECT_EQ(FTP_ERR_REPLY_425, cmd.Ftp_PutFile(dir / "f", "/d/f"));
    std::string text = "kept";
    EXPECT_EQ(FTP_ERR_REPLY_425, cmd.Ftp_ListFile("/d", text));
    EXPECT_EQ("kept", text);
    EXPECT_EQ((Transcript{"CWD /d\r\n", "PASV\r\n", "CWD /d\r\n", "PASV\r\n", "CWD /d\r\n", "PASV\r\n"}),
              server.Lines());
    ExpectNoDescriptorLeft();
}

TEST_F(TransferTest, FailedDataConnectLeavesTheDataSocketToTheNextTransfer)
{
    server.On("PASV", PassiveReply(ClosedPort()));
    EXPECT_EQ(FTP_ERR_CONNECT, cmd.Ftp_GetFile("/d/f", dir / "f", false));
    EXPECT_EQ((Transcript{"CWD /d\r\n", "PASV\r\n"}), server.Lines());
    // Nothing closes the data socket on this path; ACE has already released it after the failed connect.
    ExpectNoDescriptorLeft();
}

TEST_F(TransferTest, SilentDataConnectionEndsTheDownloadWithWhatCame)
{
    DataPlan plan = Plan("partial");
    plan.silenceMs = 6000;
    server.SetData(plan);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(FTP_OK, cmd.Ftp_GetFile("/slow", dir / "slow", false));
    double took = SecondsSince(start);
    EXPECT_GE(took, 4.9);
    EXPECT_LT(took, 9.0);
    EXPECT_EQ("partial", Read(dir / "slow"));
    ExpectNoDescriptorLeft();
}

TEST_F(TransferTest, EarlyCloseLeavesThePartialFileAndSucceeds)
{
    DataPlan plan = Plan(RandomBytes(5000), 1024, 20);
    plan.closeAfter = 2048;
    server.SetData(plan);
    EXPECT_EQ(FTP_OK, cmd.Ftp_GetFile("/cut", dir / "cut", false));
    EXPECT_TRUE(Read(dir / "cut") == plan.content.substr(0, 2048));
    ExpectNoDescriptorLeft();
}

TEST_F(TransferTest, HeadOnlyDownloadAbortsAfterTheFirstKilobyte)
{
    const std::string content = RandomBytes(5000);
    server.SetData(Plan(content, 1024, 200));
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(FTP_OK, cmd.Ftp_GetFile("/big", dir / "big", true));
    EXPECT_LT(SecondsSince(start), 4.0);  // the receive after the abort fails at once on the closed connection
    EXPECT_EQ((Transcript{"CWD /\r\n", "PASV\r\n", "RETR big\r\n", "ABOR\r\n"}), server.Lines());
    std::string local = Read(dir / "big");
    EXPECT_GE(local.size(), 1024u);
    EXPECT_LT(local.size(), content.size());
    EXPECT_TRUE(local == content.substr(0, local.size()));
    ExpectNoDescriptorLeft();
}

TEST_F(TransferTest, UploadSendsTheFileAfterStor)
{
    const std::string content = RandomBytes(5000);
    Write(dir / "up.bin", content);
    EXPECT_EQ(FTP_OK, cmd.Ftp_PutFile(dir / "up.bin", "/in/up.bin"));
    EXPECT_EQ((Transcript{"CWD /in\r\n", "PASV\r\n", "STOR up.bin\r\n"}), server.Lines());
    ASSERT_EQ(1u, server.Uploads().size());
    EXPECT_TRUE(server.Uploads()[0] == content);
    EXPECT_TRUE(logs.NotInfo().empty());
    ExpectNoDescriptorLeft();
}

TEST_F(TransferTest, UploadOfAMissingFileSendsStorFirstThenFails)
{
    EXPECT_EQ(FTP_ERR_LOCAL_OPEN, cmd.Ftp_PutFile(dir / "absent", "/in/x"));
    EXPECT_EQ((Transcript{"CWD /in\r\n", "PASV\r\n", "STOR x\r\n"}), server.Lines());
    ASSERT_EQ(1u, server.Uploads().size());
    EXPECT_EQ("", server.Uploads()[0]);  // the server was told to store and got an empty connection
    EXPECT_EQ(std::vector<LogLine>{Error(FTP_ERR_LOCAL_OPEN, "FTPCLIENT_LOG:Can not open file" + (dir / "absent"),
                                         "ftpcommand", "Ftp_PutFile")},
              logs.NotInfo());
    ExpectNoDescriptorLeft();
}

TEST_F(TransferTest, RefusedStorClosesTheDataAndReadsOneReply)
{
    Write(dir / "f", "abc");
    server.On("STOR", Reply("553 Could not create file.\r\n").Pause(100).Then("226 stray\r\n"));
    EXPECT_EQ(FTP_ERR_REPLY_553, cmd.Ftp_PutFile(dir / "f", "/f"));
    ExpectNoDescriptorLeft();
    EXPECT_EQ(FTP_OK, cmd.Ftp_cwd("/"));
    EXPECT_EQ(1u, logs.Errors().size());  // STOR's own mismatch line only
}

TEST_F(TransferTest, BrokenUploadConnectionIsIgnored)
{
    Write(dir / "big", RandomBytes(4 * 1024 * 1024));
    server.OnHandle("STOR", [](Session& s, const std::string&) {
        s.Send("150 Ok to send data.\r\n");
        s.AcceptData();
        s.CloseData();  // stops reading at once
        s.Send("426 Connection closed; transfer aborted.\r\n");
    });
    EXPECT_EQ(FTP_OK, cmd.Ftp_PutFile(dir / "big", "/big"));
    ExpectNoDescriptorLeft();
}

TEST_F(TransferTest, ListingIsReadWholeAndTheCompletionConsumed)
{
    std::string listing(1024, 'x');
    for (size_t i = 63; i < listing.size(); i += 64) {
        listing[i] = '\n';
    }
    for (size_t chunk : {size_t(0), size_t(1), size_t(100), size_t(1000), size_t(1024)}) {
        server.SetData(Plan(listing, chunk));
        std::string text;
        EXPECT_EQ(FTP_OK, cmd.Ftp_ListFile("/d", text)) << chunk;
        EXPECT_EQ(listing, text) << chunk;
    }
    EXPECT_TRUE(logs.Errors().empty());
    ExpectNoDescriptorLeft();
}

TEST_F(TransferTest, ListingWithTheCompletionInTheListReplyReadsNoFurtherReply)
{
    DataPlan plan = Plan("line\n");
    plan.completionFirst = true;
    server.SetData(plan);
    std::string text;
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(FTP_OK, cmd.Ftp_ListFile("/d", text));
    EXPECT_LT(SecondsSince(start), 1.5);  // a further read would have waited 2 seconds for nothing
    EXPECT_EQ("line\n", text);
    EXPECT_EQ(FTP_OK, cmd.Ftp_cwd("/"));
    EXPECT_TRUE(logs.Errors().empty());
}

TEST_F(TransferTest, NulByteCutsOffTheRestOfItsBlock)
{
    server.SetData(Plan(std::string("abc\0de", 6) + "f\nghi\n", 6, 100));
    std::string text;
    EXPECT_EQ(FTP_OK, cmd.Ftp_ListFile("/d", text));
    EXPECT_EQ("abcf\nghi\n", text);
}

TEST_F(TransferTest, RefusedListClosesTheDataAndReadsNoCompletion)
{
    server.On("LIST", "450 No files found\r\n");
    std::string text = "kept";
    EXPECT_EQ(FTP_ERR_REPLY_450, cmd.Ftp_ListFile("/d", text));
    EXPECT_EQ("kept", text);
    EXPECT_EQ((Transcript{"CWD /d\r\n", "PASV\r\n", "LIST\r\n"}), server.Lines());
    ExpectNoDescriptorLeft();
}

TEST_F(TransferTest, RefusedListingCwdReturnsItsCode)
{
    server.On("CWD", "550 Failed to change directory.\r\n");
    std::string text;
    EXPECT_EQ(FTP_ERR_CWD_REPLY, cmd.Ftp_ListFile("/nodir", text));
    EXPECT_EQ(Transcript{"CWD /nodir\r\n"}, server.Lines());
}

TEST_F(TransferTest, FailedBufferClearIsLoggedAndTheTransferCarriesOn)
{
    server.SetData(Plan("content"));
    faults->memsetResult = [](void* dest, size_t size, size_t) {
        std::memset(dest, 0, size);
        return 22;
    };
    EXPECT_EQ(FTP_OK, cmd.Ftp_GetFile("/f", dir / "f", false));
    faults->memsetResult = nullptr;
    EXPECT_EQ("content", Read(dir / "f"));
    bool logged = false;
    for (const LogLine& line : logs.Of(LogLevel::Debug)) {
        logged = logged || line == Debug("Memset operation Failed !!! :22", "ftpcommand", "Ftp_GetFile");
    }
    EXPECT_TRUE(logged);
}

} // namespace
