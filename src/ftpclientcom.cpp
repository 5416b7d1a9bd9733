#include "ftpclientcom.h"

#include <ace/ACE.h>
#include <ace/INET_Addr.h>
#include <ace/OS_NS_string.h>
#include <ace/Time_Value.h>

#include <cerrno>
#include <ctime>
#include <sys/socket.h>

#include "plxftpclient.h"
#include "log.h"

namespace PLX_FTP_CLIENT {
namespace {

const char kLogFile[] = "ftpclientcom";

constexpr int kErrnoRefused = 111;
// Taken to mean "already connected"; Linux never reports it, but the value counts as success.
constexpr int kErrnoAlreadyConnected = 10056;

// A send must never raise SIGPIPE in the host process when the server has gone away.
int SendAll(ACE_HANDLE handle, const char* buf, int len)
{
    if (buf == nullptr || len < 1) {
        return len;
    }
    int remaining = len;
    while (remaining > 0) {
        ssize_t sent = ACE::send_n(handle, buf + (len - remaining), static_cast<size_t>(remaining), MSG_NOSIGNAL);
        if (sent < 1) {
            return static_cast<int>(sent);
        }
        remaining -= static_cast<int>(sent);
    }
    return len;
}

// Connected sockets are switched to non-blocking mode once: a timed ACE::recv then only polls and reads, instead of
// switching the mode before and after every block. Sends cope (ACE::send_n waits while the socket is full).
void MakeNonBlocking(ACE_SOCK_Stream& stream) { stream.enable(ACE_NONBLOCK); }

int RecvOnce(ACE_HANDLE handle, char* buf, int len, int seconds)
{
    // A closed socket fails at once; ACE would otherwise poll the invalid handle until the time-out.
    if (handle == ACE_INVALID_HANDLE) {
        errno = EBADF;
        return -1;
    }
    ACE_Time_Value timeout(seconds, 0);
    return static_cast<int>(ACE::recv(handle, buf, static_cast<size_t>(len), &timeout));
}

} // namespace

int CFtpClientCom::Connect(ServerAddr& addr, int seconds)
{
    m_iPassive = addr.iPassive;
    m_strSvrHost = addr.strHost;
    m_usSvrPort = addr.usPort;

    ACE_INET_Addr remote(addr.usPort, addr.strHost.c_str(), AF_UNSPEC);
    ACE_Time_Value timeout(seconds, 0);
    int result = m_CmdConnector.connect(m_CmdSock, remote, &timeout, ACE_Addr::sap_any, 0, 0, 0, 0);
    if (result >= 0) {
        MakeNonBlocking(m_CmdSock);
        return result;
    }

    int error = errno;
    const char* reason = ACE_OS::strerror(error);
    LogError(FTP_ERR_CONNECT,
             std::string("CFtpClientCom::Connect error :") + (reason ? reason : "") + ",ErrorCode:" + IntToStr(error) +
                 "\n",
             PLX_HERE("Connect"));
    if (error == kErrnoRefused) {
        LogError(kErrnoRefused, "CFtpClientCom::Connect error :sleep ", PLX_HERE("Connect"));
        timespec pause{seconds, 0};
        nanosleep(&pause, nullptr);
        return result;
    }
    if (error == kErrnoAlreadyConnected) {
        return 0;
    }
    return result;
}

int CFtpClientCom::SendCmd(const char* buf, int len) { return SendAll(m_CmdSock.get_handle(), buf, len); }

int CFtpClientCom::SendData(const char* buf, int len) { return SendAll(m_DataSock.get_handle(), buf, len); }

int CFtpClientCom::RecvCmd(char* buf, int len, int seconds)
{
    return RecvOnce(m_CmdSock.get_handle(), buf, len, seconds);
}

int CFtpClientCom::RecvData(char* buf, int len, int seconds)
{
    return RecvOnce(m_DataSock.get_handle(), buf, len, seconds);
}

int CFtpClientCom::ConnectData(unsigned int& ip, unsigned short& port, int seconds)
{
    if (m_iPassive != 0) {
        // Always the control connection's host: the address in the passive reply is never used.
        (void)ip;
        ACE_INET_Addr remote(port, m_strSvrHost.c_str(), AF_UNSPEC);
        ACE_Time_Value timeout(seconds, 0);
        int result = m_DataConnector.connect(m_DataSock, remote, &timeout, ACE_Addr::sap_any, 0, 0, 0, 0);
        if (result == 0) {
            MakeNonBlocking(m_DataSock);
        }
        return result;
    }
    int result = OpenListen(port, ip);
    if (result == 0) {
        return AcceptData(seconds);
    }
    return result;
}

int CFtpClientCom::OpenListen(unsigned short& port, unsigned int& ip)
{
    ACE_INET_Addr local;
    m_CmdSock.get_local_addr(local);
    ip = local.get_ip_address();

    ACE_INET_Addr listenAddr(static_cast<u_short>(0), ip);
    if (m_ListenSock.open(listenAddr, 0, PF_INET, 5) == -1) {
        return -1;
    }
    ACE_INET_Addr bound;
    m_ListenSock.get_local_addr(bound);
    port = bound.get_port_number();
    return 0;
}

int CFtpClientCom::AcceptData(int seconds)
{
    ACE_INET_Addr remote;
    ACE_Time_Value timeout(seconds, 0);
    if (m_ListenSock.accept(m_DataSock, &remote, &timeout, true, false) == -1) {
        return -1;
    }
    MakeNonBlocking(m_DataSock);
    return 0;
}

int CFtpClientCom::CloseDataSock()
{
    int result = m_DataSock.close();
    if (result != 0) {
        LogError(static_cast<unsigned int>(result), "CloseDataSock m_DataSock close failure!",
                 PLX_HERE("CloseDataSock"));
    }
    if (m_iPassive != 0) {
        return result;
    }
    // Active mode reports only the listener's close; a failed data close above is logged, not returned.
    result = m_ListenSock.close();
    if (result != 0) {
        LogError(static_cast<unsigned int>(result), "CloseDataSock m_ListenSock close failure!",
                 PLX_HERE("CloseDataSock"));
    }
    return result;
}

int CFtpClientCom::CloseCmdSock() { return m_CmdSock.close(); }

} // namespace PLX_FTP_CLIENT
