// The connection layer: one connect attempt, whole sends, single receives with a time-out, the data connection
// (passive and the unreachable active branch) and closing.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <dlfcn.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "fake_ftp_server.h"
#include "ftpclientcom.h"
#include "log_capture.h"
#include "plxftpclient.h"

using namespace PLX_FTP_CLIENT;
using plxtest::ClosedPort;
using plxtest::FakeFtpServer;
using plxtest::LogCapture;

namespace {

// A port that connect() reports as errno 10056, to reach the "already connected" branch.
constexpr unsigned short kAlreadyConnectedPort = 1;

} // namespace

// The test executable's connect() stands in front of the C library's for that one port.
extern "C" int connect(int fd, const sockaddr* addr, socklen_t len)
{
    if (addr != nullptr && addr->sa_family == AF_INET &&
        ntohs(reinterpret_cast<const sockaddr_in*>(addr)->sin_port) == kAlreadyConnectedPort) {
        errno = 10056;
        return -1;
    }
    static auto real = reinterpret_cast<int (*)(int, const sockaddr*, socklen_t)>(dlsym(RTLD_NEXT, "connect"));
    return real(fd, addr, len);
}

namespace {

// Opens up the protected connection fields for the tests.
class Probe : public CFtpClientCom {
public:
    using CFtpClientCom::m_CmdSock;
    using CFtpClientCom::m_DataSock;
    using CFtpClientCom::m_iPassive;
    using CFtpClientCom::m_ListenSock;
    using CFtpClientCom::m_strSvrHost;
    using CFtpClientCom::m_usSvrPort;
};

int LoopbackListener(unsigned short& port)
{
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(0, ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)));
    EXPECT_EQ(0, ::listen(fd, 8));
    socklen_t len = sizeof(addr);
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len);
    port = ntohs(addr.sin_port);
    return fd;
}

double SecondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

ServerAddr Addr(unsigned short port, const char* host = "127.0.0.1")
{
    ServerAddr addr;
    addr.strHost = host;
    addr.usPort = port;
    addr.iPassive = 1;
    return addr;
}

TEST(ConnectTest, ConnectsAndCopiesTheAddress)
{
    FakeFtpServer server;
    Probe com;
    ServerAddr addr = Addr(server.Port());
    EXPECT_GE(com.Connect(addr, 2), 0);
    EXPECT_EQ("127.0.0.1", com.m_strSvrHost);
    EXPECT_EQ(server.Port(), com.m_usSvrPort);
    EXPECT_EQ(1, com.m_iPassive);
    EXPECT_EQ(0, com.CloseCmdSock());
}

TEST(ConnectTest, RefusedConnectionLogsTwiceAndSleepsItsSeconds)
{
    LogCapture logs;
    Probe com;
    ServerAddr addr = Addr(ClosedPort());
    auto start = std::chrono::steady_clock::now();
    EXPECT_LT(com.Connect(addr, 1), 0);
    double took = SecondsSince(start);
    EXPECT_GE(took, 0.95);
    EXPECT_LT(took, 3.0);
    std::vector<plxtest::LogLine> expected = {
        plxtest::Error(FTP_ERR_CONNECT, "FTPCLIENT_LOG:CFtpClientCom::Connect error :Connection refused,ErrorCode:111\n",
                       "ftpclientcom", "Connect"),
        plxtest::Error(111, "FTPCLIENT_LOG:CFtpClientCom::Connect error :sleep ", "ftpclientcom", "Connect"),
    };
    EXPECT_EQ(expected, logs.All());
}

TEST(ConnectTest, RefusedWithZeroSecondsReturnsAtOnce)
{
    Probe com;
    ServerAddr addr = Addr(ClosedPort());
    auto start = std::chrono::steady_clock::now();
    EXPECT_LT(com.Connect(addr, 0), 0);
    EXPECT_LT(SecondsSince(start), 0.5);
}

TEST(ConnectTest, TimeOutIsLoggedOnceWithoutSleeping)
{
    // A listener whose accept queue is full drops further connection attempts, so they time out.
    plxtest::StalledListener stalled;
    unsigned short port = stalled.Port();

    LogCapture logs;
    Probe com;
    ServerAddr addr = Addr(port);
    auto start = std::chrono::steady_clock::now();
    EXPECT_LT(com.Connect(addr, 1), 0);
    double took = SecondsSince(start);
    EXPECT_GE(took, 0.9);
    EXPECT_LT(took, 3.0);
    ASSERT_EQ(1u, logs.All().size());
    EXPECT_EQ(FTP_ERR_CONNECT, logs.All()[0].code);
    EXPECT_EQ(0u, logs.All()[0].text.find("FTPCLIENT_LOG:CFtpClientCom::Connect error :"));
    EXPECT_NE(std::string::npos, logs.All()[0].text.find(",ErrorCode:"));
}

TEST(ConnectTest, ErrnoAlreadyConnectedCountsAsSuccess)
{
    LogCapture logs;
    Probe com;
    ServerAddr addr = Addr(kAlreadyConnectedPort);
    EXPECT_EQ(0, com.Connect(addr, 1));
    ASSERT_EQ(1u, logs.All().size());
    EXPECT_EQ(FTP_ERR_CONNECT, logs.All()[0].code);
    EXPECT_NE(std::string::npos, logs.All()[0].text.find(",ErrorCode:10056\n"));
}

class ConnectedTest : public testing::Test {
protected:
    void SetUp() override
    {
        ServerAddr addr = Addr(server.Port());
        ASSERT_GE(com.Connect(addr, 2), 0);
        // Take the greeting off the wire so later receives see only what the test sends.
        char buf[128];
        ASSERT_GT(com.RecvCmd(buf, sizeof(buf), 2), 0);
    }
    void TearDown() override { com.CloseCmdSock(); }

    FakeFtpServer server;
    Probe com;
};

TEST_F(ConnectedTest, SendWithNullBufferOrNoLengthReturnsTheLengthAndSendsNothing)
{
    EXPECT_EQ(0, com.SendCmd(nullptr, 0));
    EXPECT_EQ(5, com.SendCmd(nullptr, 5));
    EXPECT_EQ(0, com.SendCmd("abc", 0));
    EXPECT_EQ(-3, com.SendCmd("abc", -3));
    EXPECT_EQ(6, com.SendCmd("NOOP\r\n", 6));
    ASSERT_TRUE(server.WaitForLines(1));
    EXPECT_EQ("NOOP\r\n", server.Bytes());
}

TEST_F(ConnectedTest, ReceiveTimesOutNegativeAndSeesPeerCloseAsZero)
{
    char buf[64];
    auto start = std::chrono::steady_clock::now();
    EXPECT_LT(com.RecvCmd(buf, sizeof(buf), 1), 0);
    EXPECT_GE(SecondsSince(start), 0.9);
    server.On("BYE", plxtest::Reply::Close());
    com.SendCmd("BYE\r\n", 5);
    EXPECT_EQ(0, com.RecvCmd(buf, sizeof(buf), 2));
}

TEST(SendTest, LargeBufferIsSentWholeToASlowReader)
{
    unsigned short port = 0;
    int listener = LoopbackListener(port);
    std::string payload(2 * 1024 * 1024, 'x');
    for (size_t i = 0; i < payload.size(); ++i) {
        payload[i] = static_cast<char>(i * 131 % 251);
    }
    std::string received;
    std::thread reader([&] {
        int fd = ::accept(listener, nullptr, nullptr);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));  // let the sender fill the socket first
        char buf[1000];
        ssize_t got;
        while ((got = ::recv(fd, buf, sizeof(buf), 0)) > 0) {
            received.append(buf, static_cast<size_t>(got));
        }
        ::close(fd);
    });
    Probe com;
    ServerAddr addr = Addr(port);
    ASSERT_GE(com.Connect(addr, 2), 0);
    EXPECT_EQ(static_cast<int>(payload.size()), com.SendCmd(payload.data(), static_cast<int>(payload.size())));
    com.CloseCmdSock();
    reader.join();
    ::close(listener);
    EXPECT_TRUE(received == payload);
}

TEST(SendTest, SendOnAClosedPeerFailsWithoutKillingTheProcess)
{
    FakeFtpServer server;
    server.Greeting(plxtest::Reply::Close());
    Probe com;
    ServerAddr addr = Addr(server.Port());
    ASSERT_GE(com.Connect(addr, 2), 0);
    char buf[16];
    EXPECT_EQ(0, com.RecvCmd(buf, sizeof(buf), 2));
    std::string block(65536, 'y');
    int result = 1;
    for (int i = 0; i < 50 && result > 0; ++i) {
        result = com.SendCmd(block.data(), static_cast<int>(block.size()));
    }
    EXPECT_LE(result, 0);
    com.CloseCmdSock();
}

TEST(SendTest, SendWithoutConnectionFails)
{
    Probe com;
    EXPECT_LE(com.SendCmd("QUIT\r\n", 6), 0);
    EXPECT_LE(com.SendData("x", 1), 0);
    char buf[8];
    auto start = std::chrono::steady_clock::now();
    EXPECT_LT(com.RecvData(buf, sizeof(buf), 2), 0);
    EXPECT_LT(com.RecvCmd(buf, sizeof(buf), 2), 0);
    EXPECT_LT(SecondsSince(start), 0.5);  // nothing to wait for on a socket that is not open
}

TEST_F(ConnectedTest, PassiveDataConnectionGoesToTheControlHostWhateverTheAddress)
{
    unsigned short port = 0;
    int listener = LoopbackListener(port);
    unsigned int ip = 0x0A000001;  // 10.0.0.1: never used
    EXPECT_EQ(0, com.ConnectData(ip, port, 2));
    int accepted = ::accept(listener, nullptr, nullptr);
    ASSERT_GE(accepted, 0);
    EXPECT_EQ(3, com.SendData("abc", 3));
    char buf[8] = {};
    EXPECT_EQ(3, ::recv(accepted, buf, sizeof(buf), 0));
    EXPECT_STREQ("abc", buf);
    ::send(accepted, "xyz", 3, 0);
    char back[8] = {};
    EXPECT_EQ(3, com.RecvData(back, sizeof(back), 2));
    EXPECT_STREQ("xyz", back);
    EXPECT_EQ(0, com.CloseDataSock());
    ::close(accepted);
    ::close(listener);
}

TEST_F(ConnectedTest, PassiveDataConnectionToAClosedPortFails)
{
    unsigned int ip = 0;
    unsigned short port = ClosedPort();
    EXPECT_LT(com.ConnectData(ip, port, 2), 0);
}

TEST(CloseTest, ClosingWhatIsNotOpenSucceedsSilently)
{
    LogCapture logs;
    Probe com;
    EXPECT_EQ(0, com.CloseDataSock());
    EXPECT_EQ(0, com.CloseDataSock());
    EXPECT_EQ(0, com.CloseCmdSock());
    com.m_iPassive = 0;
    EXPECT_EQ(0, com.CloseDataSock());
    EXPECT_TRUE(logs.All().empty());
}

TEST_F(ConnectedTest, ActiveModeListensOnTheControlAddressAndAccepts)
{
    com.m_iPassive = 0;
    unsigned short port = 0;
    unsigned int ip = 0;
    ASSERT_EQ(0, com.OpenListen(port, ip));
    EXPECT_EQ(INADDR_LOOPBACK, ip);
    EXPECT_NE(0, port);
    std::thread peer([port] {
        int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        addr.sin_port = htons(port);
        ::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr));
        ::send(fd, "hi", 2, 0);
        ::close(fd);
    });
    EXPECT_EQ(0, com.AcceptData(2));
    peer.join();
    char buf[4] = {};
    EXPECT_EQ(2, com.RecvData(buf, sizeof(buf), 2));
    EXPECT_EQ(0, com.CloseDataSock());
}

TEST_F(ConnectedTest, ActiveModeConnectDataTimesOutWhenNobodyConnects)
{
    com.m_iPassive = 0;
    unsigned short port = 0;
    unsigned int ip = 0;
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(-1, com.ConnectData(ip, port, 1));
    EXPECT_GE(SecondsSince(start), 0.9);
    EXPECT_EQ(INADDR_LOOPBACK, ip);
    EXPECT_NE(0, port);
    EXPECT_EQ(0, com.CloseDataSock());
}

} // namespace
