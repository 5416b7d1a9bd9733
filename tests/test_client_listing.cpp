// ListFile, both forms of checkOneFileExist, and RemoveDir.
#include "owned_records.h"
#include "client_fixture.h"

using namespace PLX_FTP_CLIENT;
using namespace plxtest;

namespace {

const char kListing[] =
    "total 12\r\n"
    "drwxr-xr-x 2 u g 4096 Jan  1  2020 .\r\n"
    "drwxr-xr-x 9 u g 4096 Jan  1  2020 ..\r\n"
    "-rw-r--r-- 1 u g   10 Jan  1  2020 A.txt\r\n"
    "drwxr-xr-x 2 u g 4096 Jan  1  2020 sub\r\n"
    "lrwxrwxrwx 1 u g    5 Jan  1  2020 link.txt -> a.txt\r\n"
    "---------- 1 u g    0 Jan  1  2020 hidden.txt\r\n"
    "prw-r--r-- 1 u g    0 Jan  1  2020 fifo\r\n";

class ListingTest : public ClientTest {
protected:
    void SetUp() override
    {
        LoginFresh(2, 1, 1);
        Serve(kListing);
        before = ClientDescriptors(server);
    }
    void Serve(const std::string& listing)
    {
        DataPlan plan;
        plan.content = listing;
        server.SetData(plan);
    }
    int before = 0;
};

TEST_F(ListingTest, ListFileListsTheJoinedDirectory)
{
    OwnedRecords records;
    EXPECT_EQ(FTP_OK, client->ListFile("docs", records.items));
    EXPECT_EQ((Transcript{"CWD /home/u/docs\r\n", "PASV\r\n", "LIST\r\n"}), Sent());
    EXPECT_EQ((std::vector<std::string>{"A.txt", "sub", "link.txt"}), records.Names());
    ASSERT_EQ(3u, records.items.size());
    EXPECT_EQ("10", records.items[0]->strFileSize);
    EXPECT_EQ("2020-01-01", records.items[0]->strFileTime);
    EXPECT_EQ(0, records.items[0]->ucFileType);
    EXPECT_EQ(1, records.items[1]->ucFileType);
    EXPECT_EQ(2, records.items[2]->ucFileType);
    EXPECT_EQ(before, ClientDescriptors(server));
}

TEST_F(ListingTest, ListFileAppendsBehindWhatTheVectorHeld)
{
    OwnedRecords records;
    records.items.push_back(new TkFileInfo());
    records.items[0]->strFileName = "mine";
    EXPECT_EQ(FTP_OK, client->ListFile("docs", records.items));
    EXPECT_EQ((std::vector<std::string>{"mine", "A.txt", "sub", "link.txt"}), records.Names());
}

TEST_F(ListingTest, ListFileMeasuresTheCallersArgument)
{
    OwnedRecords records;
    records.items.push_back(new TkFileInfo());
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->ListFile(std::string(261, 'd'), records.items));
    EXPECT_EQ(1u, records.items.size());
    EXPECT_TRUE(Sent().empty());
    EXPECT_EQ(FTP_OK, client->ListFile(std::string(260, 'd'), records.items));  // 268 bytes once joined
    EXPECT_EQ("CWD /home/u/" + std::string(260, 'd') + "\r\n", Sent().front());
}

TEST_F(ListingTest, FailingListingReturnsItsCodeAndLeavesTheVector)
{
    server.On("CWD", "550 Failed to change directory.\r\n");
    OwnedRecords records;
    EXPECT_EQ(FTP_ERR_CWD_REPLY, client->ListFile("nodir", records.items));
    EXPECT_TRUE(records.items.empty());
    server.On("CWD", "550 Failed to change directory.\r\n");
    EXPECT_EQ(FTP_ERR_REPLY_521, client->checkOneFileExist("nodir", "A.txt"));
}

TEST_F(ListingTest, OnlyTotalAndDotsGiveNoRecords)
{
    Serve("total 0\r\ndrwxr-xr-x 2 u g 4096 Jan 1 2020 .\r\ndrwxr-xr-x 2 u g 4096 Jan 1 2020 ..\r\n");
    OwnedRecords records;
    EXPECT_EQ(FTP_OK, client->ListFile("empty", records.items));
    EXPECT_TRUE(records.items.empty());
    EXPECT_EQ(FTP_ERR_REPLY_521, client->checkOneFileExist("empty", "."));
}

TEST_F(ListingTest, ExistenceIsCaseSensitiveAndTypeBlind)
{
    EXPECT_EQ(FTP_OK, client->checkOneFileExist("docs", "A.txt"));
    EXPECT_EQ(FTP_ERR_REPLY_521, client->checkOneFileExist("docs", "a.txt"));   // only A.txt and a link's target
    EXPECT_EQ(FTP_OK, client->checkOneFileExist("docs", "sub"));                // a directory counts
    EXPECT_EQ(FTP_OK, client->checkOneFileExist("docs", "link.txt"));           // a link by its own name
    EXPECT_EQ(FTP_ERR_REPLY_521, client->checkOneFileExist("docs", "link.txt -> a.txt"));
    EXPECT_EQ(FTP_ERR_REPLY_521, client->checkOneFileExist("docs", "hidden.txt"));  // no permissions
    EXPECT_EQ(FTP_ERR_REPLY_521, client->checkOneFileExist("docs", "fifo"));
    EXPECT_EQ(FTP_ERR_REPLY_521, client->checkOneFileExist("docs", "A.txt "));
    EXPECT_EQ(before, ClientDescriptors(server));
}

TEST_F(ListingTest, ExistenceByPathSplitsAtTheLastSlash)
{
    EXPECT_EQ(FTP_OK, client->checkOneFileExist("docs\\deep/A.txt"));
    EXPECT_EQ(FTP_ERR_REPLY_521, client->checkOneFileExist("docs/"));  // an empty name
    EXPECT_EQ((Transcript{"CWD /home/u/docs/deep\r\n", "PASV\r\n", "LIST\r\n", "CWD /home/u/docs\r\n", "PASV\r\n",
                          "LIST\r\n"}),
              Sent());
}

TEST_F(ListingTest, ExistenceByPathWithoutSlashLooksInTheEmptyDirectory)
{
    EXPECT_EQ(FTP_OK, client->checkOneFileExist("A.txt"));
    EXPECT_EQ((Transcript{"CWD \r\n", "PASV\r\n", "LIST\r\n"}), Sent());
    EXPECT_EQ(std::vector<LogLine>{Error(0, "FTPCLIENT_LOG:FTPRoot is empty! It is dangerous for other ftp handles!",
                                         "ftpclientImpl", "addRoodDir")},
              logs.Errors());
}

TEST_F(ListingTest, ExistenceCheckMeasuresTheDirectory)
{
    EXPECT_EQ(FTP_ERR_REPLY_521, client->checkOneFileExist(std::string(261, 'd'), "A.txt"));
    EXPECT_TRUE(Sent().empty());
}

TEST_F(ListingTest, RemoveDirDeletesEveryEntryThenRemovesTheDirectory)
{
    server.On("RMD", "550 Remove directory operation failed.\r\n");
    EXPECT_EQ(FTP_ERR_RMD_REPLY, client->RemoveDir("docs"));
    EXPECT_EQ((Transcript{"CWD /home/u/docs\r\n", "PASV\r\n", "LIST\r\n", "DELE /home/u/docs/A.txt\r\n",
                          "DELE /home/u/docs/sub\r\n", "DELE /home/u/docs/link.txt\r\n",
                          "DELE /home/u/docs/hidden.txt\r\n", "CWD /\r\n", "RMD /home/u/docs\r\n"}),
              Sent());
    EXPECT_EQ(before, ClientDescriptors(server));
}

TEST_F(ListingTest, RemoveDirIgnoresFailedDeletesAndCwd)
{
    server.Always("DELE", "550 Delete operation failed.\r\n");
    server.On("CWD", "250 ok\r\n");
    server.On("CWD", "550 no top for you\r\n");
    EXPECT_EQ(FTP_OK, client->RemoveDir("docs"));
    EXPECT_EQ("RMD /home/u/docs\r\n", Sent().back());
}

TEST_F(ListingTest, RemoveDirOfAnEmptyDirectory)
{
    Serve("total 0\r\n");
    EXPECT_EQ(FTP_OK, client->RemoveDir("empty"));
    EXPECT_EQ((Transcript{"CWD /home/u/empty\r\n", "PASV\r\n", "LIST\r\n", "CWD /\r\n", "RMD /home/u/empty\r\n"}),
              Sent());
}

TEST_F(ListingTest, RemoveDirStopsWhenTheListingFails)
{
    server.On("LIST", "425 Can't open data connection.\r\n");
    EXPECT_EQ(FTP_ERR_REPLY_425, client->RemoveDir("docs"));
    EXPECT_EQ((Transcript{"CWD /home/u/docs\r\n", "PASV\r\n", "LIST\r\n"}), Sent());
}

TEST_F(ListingTest, RemoveDirMeasuresTheAbsolutePath)
{
    EXPECT_EQ(FTP_ERR_NO_SUCH_FILE, client->RemoveDir(std::string(253, 'd')));
    EXPECT_TRUE(Sent().empty());
}

TEST_F(ListingTest, RemoveDirAtTheTopJoinsNamesWithOneSlash)
{
    client->Close();
    server.On("PWD", "257 \"/\"\r\n");
    LoginFresh(2, 1, 1);
    Serve("-rw-r--r-- 1 u g 1 Jan 1 2020 f\r\n");
    server.On("RMD", "550 Permission denied.\r\n");
    EXPECT_EQ(FTP_ERR_PERMISSION, client->RemoveDir("/"));
    EXPECT_EQ((Transcript{"CWD /\r\n", "PASV\r\n", "LIST\r\n", "DELE /f\r\n", "CWD /\r\n", "RMD /\r\n"}), Sent());
}

} // namespace
