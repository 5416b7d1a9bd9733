// The library as a host sees it: the public header and libplxftpclient.so, nothing else.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "fake_ftp_server.h"
#include "plxftpclient.h"

using namespace PLX_FTP_CLIENT;

namespace {

static_assert(!std::is_copy_constructible<CFtpClient>::value, "a client cannot be copied");
static_assert(!std::is_copy_assignable<CFtpClient>::value, "a client cannot be assigned");
static_assert(std::has_virtual_destructor<CFtpClient>::value, "the destructor is virtual");

// Under the Itanium C++ ABI a pointer to a virtual member function holds 1 + its byte offset in the vtable.
template <typename F>
std::ptrdiff_t Slot(F member)
{
    std::ptrdiff_t raw = 0;
    std::memcpy(&raw, &member, sizeof(raw));
    return (raw - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

TEST(ApiTest, VirtualOperationsKeepTheirSlots)
{
    using Check2 = unsigned int (CFtpClient::*)(const std::string&, const std::string&);
    using Check1 = unsigned int (CFtpClient::*)(const std::string&);
    // Slots 0 and 1 hold the two forms of the destructor.
    EXPECT_EQ(2, Slot(&CFtpClient::setParam));
    EXPECT_EQ(3, Slot(&CFtpClient::Login));
    EXPECT_EQ(4, Slot(&CFtpClient::Close));
    EXPECT_EQ(5, Slot(&CFtpClient::ChangeDir));
    EXPECT_EQ(6, Slot(&CFtpClient::ListFile));
    EXPECT_EQ(7, Slot(static_cast<Check2>(&CFtpClient::checkOneFileExist)));
    EXPECT_EQ(8, Slot(static_cast<Check1>(&CFtpClient::checkOneFileExist)));
    EXPECT_EQ(9, Slot(&CFtpClient::GetOneFile));
    EXPECT_EQ(10, Slot(&CFtpClient::PutOneFileToFile));
    EXPECT_EQ(11, Slot(&CFtpClient::PutOneFileToPath));
    EXPECT_EQ(12, Slot(&CFtpClient::GetFile));
    EXPECT_EQ(13, Slot(&CFtpClient::PutFile));
    EXPECT_EQ(14, Slot(&CFtpClient::RemoveFile));
    EXPECT_EQ(15, Slot(&CFtpClient::MakeDir));
    EXPECT_EQ(16, Slot(&CFtpClient::RemoveDir));
}

TEST(ApiTest, ExportedObjectHoldsOnlyItsImplementationPointer)
{
    EXPECT_EQ(2 * sizeof(void*), sizeof(CFtpClient));  // vtable pointer + implementation pointer
}

TEST(ApiTest, ResultCodesHaveTheirValues)
{
    EXPECT_EQ(0u, FTP_OK);
    EXPECT_EQ(0x3BB00001u, FTP_ERR_CONNECT);
    EXPECT_EQ(0x3BB00002u, FTP_ERR_SEND);
    EXPECT_EQ(0x3BB00003u, FTP_ERR_BLANK_REPLY);
    EXPECT_EQ(0x3BB00005u, FTP_ERR_LOCAL_OPEN);
    EXPECT_EQ(0x3BB00006u, FTP_ERR_LOCAL_CREATE);
    EXPECT_EQ(0x3BB00007u, FTP_ERR_PASS_DENIED);
    EXPECT_EQ(0x3BB00009u, FTP_ERR_CWD_REPLY);
    EXPECT_EQ(0x3BB0000Au, FTP_ERR_MKD_REPLY);
    EXPECT_EQ(0x3BB0000Bu, FTP_ERR_RMD_REPLY);
    EXPECT_EQ(0x3BB0000Cu, FTP_ERR_DELE_REPLY);
    EXPECT_EQ(0x3BB0000Du, FTP_ERR_PERMISSION);
    EXPECT_EQ(1001390094u, FTP_ERR_NO_SUCH_FILE);
    EXPECT_EQ(0x3BB0000Fu, FTP_ERR_REPLY_421);
    EXPECT_EQ(0x3BB00010u, FTP_ERR_REPLY_425);
    EXPECT_EQ(0x3BB00011u, FTP_ERR_REPLY_426);
    EXPECT_EQ(0x3BB00012u, FTP_ERR_REPLY_450);
    EXPECT_EQ(0x3BB00013u, FTP_ERR_REPLY_451);
    EXPECT_EQ(0x3BB00014u, FTP_ERR_REPLY_452);
    EXPECT_EQ(0x3BB00015u, FTP_ERR_REPLY_501);
    EXPECT_EQ(1001390102u, FTP_ERR_REPLY_521);
    EXPECT_EQ(0x3BB00017u, FTP_ERR_REPLY_553);
    EXPECT_EQ(0x3BB00018u, FTP_ERR_REPLY_552);
    EXPECT_EQ(0x3BB00019u, FTP_ERR_REPLY_550);
    EXPECT_EQ(0x3BB0001Au, FTP_ERR_REPLY_530);
    EXPECT_EQ(0x3BB0001Bu, FTP_ERR_CLOSE);
    EXPECT_EQ(0x3BB0001Cu, FTP_ERR_SERVER_SHUTDOWN);
    EXPECT_EQ(0x3BB0001Du, FTP_ERR_UNKNOWN_REPLY);
    EXPECT_EQ(454454545u, FTP_ERR_PASV_PARSE);
    EXPECT_STREQ("FTP_ERR_NO_SUCH_FILE", FtpResultName(0x3BB0000E));
    EXPECT_STREQ("UNKNOWN", FtpResultName(0x3BB00004));
}

TEST(ApiTest, RecordsStartEmptyAsADirectory)
{
    TkFileInfo info;
    EXPECT_TRUE(info.strFileName.empty());
    EXPECT_TRUE(info.strFileTime.empty());
    EXPECT_TRUE(info.strFileSize.empty());
    EXPECT_EQ(1, info.ucFileType);
    Ftp_File_Pair pair{"src", "dst"};
    EXPECT_EQ("src", pair.strSrcFile);
    EXPECT_EQ("dst", pair.strDstFile);
}

TEST(ApiTest, SessionThroughTheSharedLibrary)
{
    plxtest::FakeFtpServer server;
    CFtpClient client("127.0.0.1", server.Port(), "user", "secret");
    EXPECT_EQ(FTP_OK, client.Login());
    EXPECT_EQ(FTP_OK, client.Close());
    EXPECT_EQ((std::vector<std::string>{"USER user\r\n", "PASS secret\r\n", "PWD\r\n", "QUIT\r\n"}), server.Lines());
}

} // namespace
