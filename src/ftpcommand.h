// CFtpCommand: the FTP command layer. Reads and classifies replies, sends each FTP command, opens the passive
// data link and runs the three data transfers (list, retrieve, store). Every operation returns a result code.
#ifndef PLX_FTPCOMMAND_H
#define PLX_FTPCOMMAND_H

#include <string>

#include "ftpclientcom.h"

namespace PLX_FTP_CLIENT {

// Maps an error reply's code (and, for 501/550 and shutdown notices, its text) to a result code.
unsigned int ClassifyReply(int code, const std::string& text);

// Whole-text match, case-sensitive: '*' any run (line ends included), '?' one character. 1 on match, 0 otherwise.
int WildcardMatch(const char* text, const char* pattern);
// As WildcardMatch, but 0 when either pointer is null or the text is empty.
int WildcardMatchChecked(const char* text, const char* pattern);

class CFtpCommand : public CFtpClientCom {
public:
    CFtpCommand();

    void SetServerInfo(const std::string& host, unsigned short port, const std::string& user,
                       const std::string& password);
    void GetServerInfo(std::string& host, unsigned short& port, std::string& user, std::string& password) const;
    void SetParam(unsigned short usTimeOut, unsigned short usRetryTimes, unsigned short usRetryTimeOut);

    // ---- replies
    unsigned int GetRetCode(std::string& reply, int tries);
    unsigned int GetRetCode(std::string& reply);
    unsigned int ReadReply(int tries);
    unsigned int ReadReply();

    // ---- session
    unsigned int ConnectServer();
    unsigned int Ftp_user();
    unsigned int Ftp_pass();
    unsigned int Ftp_quit();
    unsigned int FTP_pwd(std::string& dir);
    unsigned int Ftp_abor();
    unsigned int Ftp_syst(std::string& reply);

    // ---- files and directories
    unsigned int Ftp_type(int iAscii);
    unsigned int Ftp_retr(const std::string& file);
    unsigned int Ftp_dele(const std::string& path);
    unsigned int Ftp_cwd(const std::string& dir);
    unsigned int Ftp_list(const std::string& dir, bool& bComplete);
    unsigned int Ftp_stor(const std::string& file);
    unsigned int Ftp_mkd(const std::string& dir);
    unsigned int Ftp_rmd(const std::string& dir);
    void GetFtpFileAndDir(const std::string& path, std::string& file, std::string& dir);

    // ---- passive data link
    unsigned int GetPasvPort(const std::string& reply, unsigned short& port);
    unsigned int Ftp_pasv(unsigned short& port);
    unsigned int CreatePasvDataLink();

    // ---- data transfers
    unsigned int Ftp_ListFile(const std::string& dir, std::string& text);
    unsigned int Ftp_GetFile(const std::string& remote, const std::string& local, bool bHead);
    unsigned int Ftp_PutFile(const std::string& local, const std::string& remote);

private:
    // Formats one command line into a buffer of size bytes (count size - 1), sends it and frees the buffer.
    // Returns the send's result; formatting failures are logged and the buffer is sent as it stands.
    template <typename... Args>
    int SendFormatted(const char* function, size_t size, const char* format, Args... args);
    // Sends a command line and reads the reply into text; FTP_ERR_SEND when the send fails.
    unsigned int SendConstant(const char* line, std::string& text);
    // Logs "<message><reply>" with the prefix when the reply does not begin with expected.
    void CheckReplyBegins(const std::string& reply, const char* expected, unsigned int result, const char* message,
                          const char* function);
    // A formatted command whose argument is a remote name: converts it, sizes the buffer from the converted name,
    // and formats with the converted or the caller's bytes. Fills text with the reply when keepText is set.
    unsigned int NameCommand(const char* function, const char* format, const std::string& name, bool sendConverted,
                             bool keepText, std::string& text);
    // Receives the data connection into text until it closes, fails or stays silent for 5 seconds.
    void ReceiveListing(std::string& text);
    // A file transfer's first steps: refuse a line break in the remote path, change into its directory (file gets
    // the bare name) and open the passive data link. On failure nothing is left open.
    unsigned int OpenFileTransfer(const char* function, const std::string& remote, std::string& file);
    // A file transfer's last steps: close the data connection and consume the completion reply.
    void CloseFileTransfer();

    std::string m_strHost;
    std::string m_strUser;
    std::string m_strPassword;
    unsigned short m_usPort = 0;
    unsigned short m_usTimeOut = 5;
    unsigned short m_usRetryTimes = 2;
    unsigned short m_usRetryTimeOut = 2;
};

} // namespace PLX_FTP_CLIENT

#endif // PLX_FTPCOMMAND_H
