// The public download and upload operations, one file at a time and in batches.
#include "client_fixture.h"
#include "temp_dir.h"

#include <algorithm>

using namespace PLX_FTP_CLIENT;
using namespace plxtest;

namespace {

class TransfersTest : public ClientTest {
protected:
    void SetUp() override
    {
        LoginFresh(2, 1, 1);
        before = ClientDescriptors(server);
    }
    void ServeContent(const std::string& content, size_t chunk = 0, bool random = false)
    {
        DataPlan plan;
        plan.content = content;
        plan.chunk = chunk;
        plan.randomChunks = random;
        server.SetData(plan);
    }
    void ExpectNoDescriptorLeft() { EXPECT_EQ(before, ClientDescriptors(server)); }

    TempDir dir;
    int before = 0;
};

TEST_F(TransfersTest, GetOneFileSendsTypeThenTheTransfer)
{
    ServeContent("hello");
    EXPECT_EQ(FTP_OK, client->GetOneFile("docs/a.txt", dir / "a.txt", false));
    EXPECT_EQ((Transcript{"TYPE I\r\n", "CWD /home/u/docs\r\n", "PASV\r\n", "RETR a.txt\r\n"}), Sent());
    EXPECT_EQ("hello", Read(dir / "a.txt"));
    ExpectNoDescriptorLeft();
}

TEST_F(TransfersTest, GetOneFileFlagChangesNothing)
{
    ServeContent(RandomBytes(5000), 1024);
    EXPECT_EQ(FTP_OK, client->GetOneFile("f", dir / "true", true));
    EXPECT_EQ(FTP_OK, client->GetOneFile("f", dir / "false", false));
    EXPECT_EQ(5000u, Read(dir / "true").size());
    EXPECT_TRUE(Read(dir / "true") == Read(dir / "false"));
    Transcript once = {"TYPE I\r\n", "CWD /home/u\r\n", "PASV\r\n", "RETR f\r\n"};
    Transcript twice = once;
    twice.insert(twice.end(), once.begin(), once.end());
    EXPECT_EQ(twice, Sent());  // no ABOR either way
}

TEST_F(TransfersTest, PutOneFileToFileSendsTypeThenTheUpload)
{
    Write(dir / "up.bin", "payload");
    EXPECT_EQ(FTP_OK, client->PutOneFileToFile(dir / "up.bin", "in/up.bin"));
    EXPECT_EQ((Transcript{"TYPE I\r\n", "CWD /home/u/in\r\n", "PASV\r\n", "STOR up.bin\r\n"}), Sent());
    EXPECT_EQ(std::vector<std::string>{"payload"}, server.Uploads());
    ExpectNoDescriptorLeft();
}

TEST_F(TransfersTest, FailedTypeStopsTheTransfer)
{
    server.On("TYPE", "421 Closing\r\n", 2);
    EXPECT_EQ(FTP_ERR_REPLY_421, client->GetOneFile("f", dir / "f", false));
    EXPECT_EQ(FTP_ERR_REPLY_421, client->PutOneFileToFile(dir / "f", "f"));
    EXPECT_EQ((Transcript{"TYPE I\r\n", "TYPE I\r\n"}), Sent());
    EXPECT_FALSE(FileExists(dir / "f"));
}

TEST_F(TransfersTest, AbsolutePathOf261BytesIsRefusedBeforeAnythingIsSent)
{
    // The root "/home/u" and the joining '/' make 8 bytes.
    const std::string fits(252, 'n');
    const std::string over(253, 'n');
    Write(dir / "local", "x");
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->GetOneFile(over, dir / "got", false));
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->PutOneFileToFile(dir / "local", over));
    EXPECT_TRUE(Sent().empty());
    ServeContent("y");
    EXPECT_EQ(FTP_OK, client->GetOneFile(fits, dir / "got", false));
    EXPECT_EQ(FTP_OK, client->PutOneFileToFile(dir / "local", fits));
    EXPECT_EQ(8u, Sent().size());
}

TEST_F(TransfersTest, PutOneFileToPathUsesTheLocalName)
{
    Write(dir / "a.txt", "A");
    EXPECT_EQ(FTP_OK, client->PutOneFileToPath(dir / "a.txt", "up"));
    EXPECT_EQ((Transcript{"TYPE I\r\n", "CWD /home/u/up\r\n", "PASV\r\n", "STOR a.txt\r\n"}), Sent());
}

TEST_F(TransfersTest, PutOneFileToPathTakesTheNameAfterTheLastBackslash)
{
    // No such local file: STOR is sent, then the open fails; the name on the wire is what matters here.
    EXPECT_EQ(FTP_ERR_LOCAL_OPEN, client->PutOneFileToPath("C:\\tmp\\b.txt", "up"));
    EXPECT_EQ((Transcript{"TYPE I\r\n", "CWD /home/u/up\r\n", "PASV\r\n", "STOR b.txt\r\n"}), Sent());
}

TEST_F(TransfersTest, PutOneFileToPathKeepsADoubledSlash)
{
    Write(dir / "a.txt", "A");
    EXPECT_EQ(FTP_OK, client->PutOneFileToPath(dir / "a.txt", "up/"));
    // "/home/u/up//a.txt" splits at its last '/': the directory keeps the other one.
    EXPECT_EQ((Transcript{"TYPE I\r\n", "CWD /home/u/up/\r\n", "PASV\r\n", "STOR a.txt\r\n"}), Sent());
}

TEST_F(TransfersTest, PutOneFileToPathWithALocalPathEndingInSlashSendsAnEmptyName)
{
    EXPECT_EQ(FTP_ERR_LOCAL_OPEN, client->PutOneFileToPath(dir / "missing/", "up"));
    EXPECT_EQ((Transcript{"TYPE I\r\n", "CWD /home/u/up\r\n", "PASV\r\n", "STOR \r\n"}), Sent());
}

TEST_F(TransfersTest, EmptyBatchesStillSendType)
{
    std::vector<Ftp_File_Pair> none;
    EXPECT_EQ(FTP_OK, client->GetFile(none, false));
    EXPECT_EQ(FTP_OK, client->PutFile(none));
    EXPECT_EQ((Transcript{"TYPE I\r\n", "TYPE I\r\n"}), Sent());
    server.On("TYPE", "500 No\r\n");
    EXPECT_EQ(FTP_ERR_UNKNOWN_REPLY, client->GetFile(none, true));
}

TEST_F(TransfersTest, DownloadBatchSendsTypeOnceAndStopsAtTheFirstFailure)
{
    server.SetFile("one", "first");
    server.SetFile("three", "third");
    std::vector<Ftp_File_Pair> batch = {{"one", dir / "one"}, {"two", dir / "two"}, {"three", dir / "three"}};
    EXPECT_EQ(FTP_ERR_REPLY_550, client->GetFile(batch, false));
    EXPECT_EQ((Transcript{"TYPE I\r\n", "CWD /home/u\r\n", "PASV\r\n", "RETR one\r\n", "CWD /home/u\r\n", "PASV\r\n",
                          "RETR two\r\n"}),
              Sent());
    EXPECT_EQ("first", Read(dir / "one"));
    EXPECT_FALSE(FileExists(dir / "two"));
    EXPECT_FALSE(FileExists(dir / "three"));
    ASSERT_EQ(3u, batch.size());  // the batch is only read
    EXPECT_EQ("two", batch[1].strSrcFile);
    EXPECT_EQ(dir / "two", batch[1].strDstFile);
    ExpectNoDescriptorLeft();
}

TEST_F(TransfersTest, DownloadBatchFetchesEveryPairInOrder)
{
    server.SetFile("a", "AAA");
    server.SetFile("b", "BB");
    std::vector<Ftp_File_Pair> batch = {{"a", dir / "a"}, {"sub/b", dir / "b"}};
    server.SetFile("b", "BB");
    EXPECT_EQ(FTP_OK, client->GetFile(batch, true));
    EXPECT_EQ("AAA", Read(dir / "a"));
    EXPECT_EQ("BB", Read(dir / "b"));
    Transcript sent = Sent();
    EXPECT_EQ(1, std::count(sent.begin(), sent.end(), "TYPE I\r\n"));
}

TEST_F(TransfersTest, UploadBatchStopsAtTheFirstFailure)
{
    Write(dir / "one", "1");
    Write(dir / "three", "3");
    std::vector<Ftp_File_Pair> batch = {{dir / "one", "r1"}, {dir / "two", "r2"}, {dir / "three", "r3"}};
    EXPECT_EQ(FTP_ERR_LOCAL_OPEN, client->PutFile(batch));
    EXPECT_EQ((Transcript{"TYPE I\r\n", "CWD /home/u\r\n", "PASV\r\n", "STOR r1\r\n", "CWD /home/u\r\n", "PASV\r\n",
                          "STOR r2\r\n"}),
              Sent());
    EXPECT_EQ((std::vector<std::string>{"1", ""}), server.Uploads());
    ExpectNoDescriptorLeft();
}

TEST_F(TransfersTest, OverLongPathInABatchStopsItThere)
{
    Write(dir / "one", "1");
    std::vector<Ftp_File_Pair> up = {{dir / "one", "r1"}, {dir / "one", std::string(253, 'n')}, {dir / "one", "r3"}};
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->PutFile(up));
    EXPECT_EQ(1u, server.Uploads().size());
    std::vector<Ftp_File_Pair> down = {{std::string(253, 'n'), dir / "x"}, {"r3", dir / "y"}};
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->GetFile(down, false));
    EXPECT_EQ("TYPE I\r\n", Sent().back());  // nothing after the batch's TYPE
}

// Byte-exact round trips for every size and chunking of the server's sends.
struct RoundTrip {
    size_t size;
    size_t chunk;
    bool random;
};

void PrintTo(const RoundTrip& trip, std::ostream* out)
{
    *out << trip.size << " bytes in " << (trip.random ? "random" : std::to_string(trip.chunk)) << "-byte sends";
}

class RoundTripTest : public TransfersTest, public testing::WithParamInterface<RoundTrip> {};

TEST_P(RoundTripTest, DownloadAndUploadAreByteExact)
{
    const RoundTrip& trip = GetParam();
    const std::string content = RandomBytes(trip.size, static_cast<unsigned int>(trip.size + trip.chunk));
    ServeContent(content, trip.chunk, trip.random);
    ASSERT_EQ(FTP_OK, client->GetOneFile("remote.bin", dir / "down.bin", false));
    EXPECT_TRUE(Read(dir / "down.bin") == content);
    ExpectNoDescriptorLeft();

    Write(dir / "up.bin", content);
    ASSERT_EQ(FTP_OK, client->PutOneFileToFile(dir / "up.bin", "remote.bin"));
    ASSERT_EQ(1u, server.Uploads().size());
    EXPECT_TRUE(server.Uploads()[0] == content);
    ExpectNoDescriptorLeft();
}

std::vector<RoundTrip> AllRoundTrips()
{
    std::vector<RoundTrip> trips;
    for (size_t size : {size_t(0), size_t(1), size_t(1023), size_t(1024), size_t(1025), size_t(3000),
                        size_t(1024 * 1024)}) {
        trips.push_back({size, 1, false});
        trips.push_back({size, 7, false});
        trips.push_back({size, 1024, false});
        trips.push_back({size, 4096, false});
        trips.push_back({size, 3000, true});
    }
    return trips;
}

INSTANTIATE_TEST_SUITE_P(SizesAndChunks, RoundTripTest, testing::ValuesIn(AllRoundTrips()),
                         [](const testing::TestParamInfo<RoundTrip>& info) {
                             return std::to_string(info.param.size) + "_bytes_" +
                                    (info.param.random ? "random" : std::to_string(info.param.chunk)) + "_chunks";
                         });

} // namespace
