// CFtpClientCom: the control and data connections of one session, over ACE sockets. Operations return socket-style
// integers (byte counts, 0, negative); result codes are the command layer's business.
#ifndef PLX_FTPCLIENTCOM_H
#define PLX_FTPCLIENTCOM_H

#include <ace/SOCK_Acceptor.h>
#include <ace/SOCK_Connector.h>
#include <ace/SOCK_Stream.h>

#include <string>

namespace PLX_FTP_CLIENT {

struct ServerAddr {
    std::string strHost;
    unsigned short usPort = 0;
    int iPassive = 1;
};

class CFtpClientCom {
public:
    CFtpClientCom() = default;
    CFtpClientCom(const CFtpClientCom&) = delete;
    CFtpClientCom& operator=(const CFtpClientCom&) = delete;
    virtual ~CFtpClientCom() = default;  // closes nothing: sockets are closed only by CloseDataSock/CloseCmdSock

    // One attempt to open the control connection within seconds. >= 0 connected, negative on failure (a refused
    // connection sleeps seconds before returning).
    int Connect(ServerAddr& addr, int seconds);

    // Send all len bytes (no time-out); len on success, the failing send's value (<= 0) otherwise.
    int SendCmd(const char* buf, int len);
    int SendData(const char* buf, int len);

    // One receive with a time-out: bytes received, 0 when the peer closed, negative on error or time-out.
    int RecvCmd(char* buf, int len, int seconds);
    int RecvData(char* buf, int len, int seconds);

    // Opens the data connection: in passive mode to the control host at port (ip is ignored).
    int ConnectData(unsigned int& ip, unsigned short& port, int seconds);
    int OpenListen(unsigned short& port, unsigned int& ip);
    int AcceptData(int seconds);

    int CloseDataSock();
    int CloseCmdSock();

protected:
    std::string m_strSvrHost;
    unsigned short m_usSvrPort = 0;
    int m_iPassive = 1;
    ACE_SOCK_Connector m_CmdConnector;
    ACE_SOCK_Stream m_CmdSock;
    ACE_SOCK_Stream m_DataSock;
    ACE_SOCK_Acceptor m_ListenSock;
    ACE_SOCK_Connector m_DataConnector;
};

} // namespace PLX_FTP_CLIENT

#endif // PLX_FTPCLIENTCOM_H
