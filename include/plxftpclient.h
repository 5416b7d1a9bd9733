// plxftpclient: a synchronous FTP client (passive mode, plain TCP).
//
// One CFtpClient talks to one server. Construct it, optionally tune it with setParam, call Login, run operations,
// call Close. Every operation returns an unsigned 32-bit result code: 0 (FTP_OK) on success, otherwise one of the
// FTP_ERR_* constants below. Remote paths are taken relative to the directory the server reports at login.
#ifndef PLXFTPCLIENT_H
#define PLXFTPCLIENT_H

#include <string>
#include <vector>

#if defined(PLXFTPCLIENT_BUILDING)
#define PLX_FTP_API __attribute__((visibility("default")))
#else
#define PLX_FTP_API
#endif

namespace PLX_FTP_CLIENT {

// ---- Result codes -------------------------------------------------------------------------------------------------
constexpr unsigned int FTP_OK = 0;
constexpr unsigned int FTP_ERR_CONNECT = 0x3BB00001;          // control or data connection could not be made
constexpr unsigned int FTP_ERR_SEND = 0x3BB00002;             // a command line could not be sent
constexpr unsigned int FTP_ERR_BLANK_REPLY = 0x3BB00003;      // nothing but empty receives until the reader gave up
constexpr unsigned int FTP_ERR_LOCAL_OPEN = 0x3BB00005;       // upload: local file cannot be opened
constexpr unsigned int FTP_ERR_LOCAL_CREATE = 0x3BB00006;     // download: local file cannot be created
constexpr unsigned int FTP_ERR_PASS_DENIED = 0x3BB00007;      // PASS answered with 530
constexpr unsigned int FTP_ERR_CWD_REPLY = 0x3BB00009;        // CWD answered with a plain 550
constexpr unsigned int FTP_ERR_MKD_REPLY = 0x3BB0000A;        // MKD answered with a plain 550
constexpr unsigned int FTP_ERR_RMD_REPLY = 0x3BB0000B;        // RMD answered with a plain 550
constexpr unsigned int FTP_ERR_DELE_REPLY = 0x3BB0000C;       // DELE answered with a plain 550
constexpr unsigned int FTP_ERR_PERMISSION = 0x3BB0000D;       // 501/550 saying permission is denied
constexpr unsigned int FTP_ERR_NO_SUCH_FILE = 0x3BB0000E;     // 501/550 saying no such file; or a path over 260 bytes
constexpr unsigned int FTP_ERR_REPLY_421 = 0x3BB0000F;
constexpr unsigned int FTP_ERR_REPLY_425 = 0x3BB00010;
constexpr unsigned int FTP_ERR_REPLY_426 = 0x3BB00011;
constexpr unsigned int FTP_ERR_REPLY_450 = 0x3BB00012;
constexpr unsigned int FTP_ERR_REPLY_451 = 0x3BB00013;
constexpr unsigned int FTP_ERR_REPLY_452 = 0x3BB00014;
constexpr unsigned int FTP_ERR_REPLY_501 = 0x3BB00015;
constexpr unsigned int FTP_ERR_REPLY_521 = 0x3BB00016;        // also "exists" replies and checkOneFileExist's "absent"
constexpr unsigned int FTP_ERR_REPLY_553 = 0x3BB00017;
constexpr unsigned int FTP_ERR_REPLY_552 = 0x3BB00018;
constexpr unsigned int FTP_ERR_REPLY_550 = 0x3BB00019;
constexpr unsigned int FTP_ERR_REPLY_530 = 0x3BB0001A;
constexpr unsigned int FTP_ERR_CLOSE = 0x3BB0001B;            // Close failed in any step
constexpr unsigned int FTP_ERR_SERVER_SHUTDOWN = 0x3BB0001C;  // error reply matching "*FTP*server*shutdown*"
constexpr unsigned int FTP_ERR_UNKNOWN_REPLY = 0x3BB0001D;    // error reply code not in the reply table
constexpr unsigned int FTP_ERR_PASV_PARSE = 0x1B166D11;       // the 227 reply did not hold the host's address

// The name of a result code ("FTP_ERR_NO_SUCH_FILE"), or "UNKNOWN" for a value that is not one.
inline const char* FtpResultName(unsigned int code)
{
    switch (code) {
    case FTP_OK: return "FTP_OK";
    case FTP_ERR_CONNECT: return "FTP_ERR_CONNECT";
    case FTP_ERR_SEND: return "FTP_ERR_SEND";
    case FTP_ERR_BLANK_REPLY: return "FTP_ERR_BLANK_REPLY";
    case FTP_ERR_LOCAL_OPEN: return "FTP_ERR_LOCAL_OPEN";
    case FTP_ERR_LOCAL_CREATE: return "FTP_ERR_LOCAL_CREATE";
    case FTP_ERR_PASS_DENIED: return "FTP_ERR_PASS_DENIED";
    case FTP_ERR_CWD_REPLY: return "FTP_ERR_CWD_REPLY";
    case FTP_ERR_MKD_REPLY: return "FTP_ERR_MKD_REPLY";
    case FTP_ERR_RMD_REPLY: return "FTP_ERR_RMD_REPLY";
    case FTP_ERR_DELE_REPLY: return "FTP_ERR_DELE_REPLY";
    case FTP_ERR_PERMISSION: return "FTP_ERR_PERMISSION";
    case FTP_ERR_NO_SUCH_FILE: return "FTP_ERR_NO_SUCH_FILE";
    case FTP_ERR_REPLY_421: return "FTP_ERR_REPLY_421";
    case FTP_ERR_REPLY_425: return "FTP_ERR_REPLY_425";
    case FTP_ERR_REPLY_426: return "FTP_ERR_REPLY_426";
    case FTP_ERR_REPLY_450: return "FTP_ERR_REPLY_450";
    case FTP_ERR_REPLY_451: return "FTP_ERR_REPLY_451";
    case FTP_ERR_REPLY_452: return "FTP_ERR_REPLY_452";
    case FTP_ERR_REPLY_501: return "FTP_ERR_REPLY_501";
    case FTP_ERR_REPLY_521: return "FTP_ERR_REPLY_521";
    case FTP_ERR_REPLY_553: return "FTP_ERR_REPLY_553";
    case FTP_ERR_REPLY_552: return "FTP_ERR_REPLY_552";
    case FTP_ERR_REPLY_550: return "FTP_ERR_REPLY_550";
    case FTP_ERR_REPLY_530: return "FTP_ERR_REPLY_530";
    case FTP_ERR_CLOSE: return "FTP_ERR_CLOSE";
    case FTP_ERR_SERVER_SHUTDOWN: return "FTP_ERR_SERVER_SHUTDOWN";
    case FTP_ERR_UNKNOWN_REPLY: return "FTP_ERR_UNKNOWN_REPLY";
    case FTP_ERR_PASV_PARSE: return "FTP_ERR_PASV_PARSE";
    default: return "UNKNOWN";
    }
}

// ---- Records ------------------------------------------------------------------------------------------------------

// One directory entry of a listing. Records handed out by ListFile are heap objects owned by the caller.
struct PLX_FTP_API TkFileInfo {
    std::string strFileName;    // the name as listed; for a link only the part before " -> "
    std::string strFileTime;    // "YYYY-MM-DD[ HH:MM]" for Unix lines; date and time columns verbatim for MS-DOS lines
    std::string strFileSize;    // the size column as text ("0" for an MS-DOS directory)
    unsigned char ucFileType = 1;  // 0 regular file, 1 directory, 2 symbolic link
};

// One entry of a batch transfer: the source first, the destination second (remote -> local in GetFile,
// local -> remote in PutFile).
struct PLX_FTP_API Ftp_File_Pair {
    std::string strSrcFile;
    std::string strDstFile;
};

class CFtpClientImpl;

// ---- The client ---------------------------------------------------------------------------------------------------
class PLX_FTP_API CFtpClient {
public:
    // Stores the server and credentials and applies setParam(5, 2, 2). Touches no network.
    CFtpClient(const std::string& host, unsigned short port, const std::string& user, const std::string& password);
    CFtpClient(const CFtpClient&) = delete;
    CFtpClient& operator=(const CFtpClient&) = delete;

    // Sends nothing and closes nothing: a session still open is left to the operating system. Call Close first.
    virtual ~CFtpClient();

    // usTimeOut: seconds for the first connect attempt and the first receive of every reply chunk (default 5).
    // usRetryTimes: further connect attempts and extra empty-reply receives (default 2).
    // usRetryTimeOut: seconds for every retry (default 2). Data connects and data receives always wait 5 seconds.
    virtual void setParam(unsigned short usTimeOut, unsigned short usRetryTimes, unsigned short usRetryTimeOut);

    // Connects (with retries), reads the greeting, sends USER, PASS, then PWD to learn the root. A refused PWD
    // still gives 0 (the root then stays empty). A 530 to PASS gives FTP_ERR_PASS_DENIED.
    virtual unsigned int Login();

    // Sends QUIT and closes both connections. Any failure gives FTP_ERR_CLOSE. Login may be called again after it.
    virtual unsigned int Close();

    // CWD <root>/<dir>. The caller's argument may be at most 260 bytes.
    virtual unsigned int ChangeDir(const std::string& dir);

    // CWD <root>/<dir>, PASV, LIST; appends one heap record per entry to files (never cleared). Entries whose
    // permissions show neither read nor write are left out. The caller deletes every record.
    virtual unsigned int ListFile(const std::string& dir, std::vector<TkFileInfo*>& files);

    // 0 when <dir> lists an entry named exactly file; FTP_ERR_REPLY_521 otherwise, whatever the reason.
    virtual unsigned int checkOneFileExist(const std::string& dir, const std::string& file);
    // As above, with the path split at its last '/' (or '\').
    virtual unsigned int checkOneFileExist(const std::string& path);

    // TYPE I, CWD <directory>, PASV, RETR <name>; writes the data into local. flag is ignored.
    virtual unsigned int GetOneFile(const std::string& remote, const std::string& local, bool flag);
    // TYPE I, CWD <directory>, PASV, STOR <name>; sends the local file.
    virtual unsigned int PutOneFileToFile(const std::string& local, const std::string& remote);
    // Uploads local under its own name into remoteDir ("<remoteDir>/<name>").
    virtual unsigned int PutOneFileToPath(const std::string& local, const std::string& remoteDir);
    // TYPE I once, then one download per pair (remote -> local); stops at the first failure. flag is ignored.
    virtual unsigned int GetFile(std::vector<Ftp_File_Pair>& files, bool flag);
    // TYPE I once, then one upload per pair (local -> remote); stops at the first failure.
    virtual unsigned int PutFile(std::vector<Ftp_File_Pair>& files);

    // DELE <root>/<path>.
    virtual unsigned int RemoveFile(const std::string& path);
    // CWD "/", then per level: CWD <level>/, and where that fails MKD <level> and CWD <level>/.
    virtual unsigned int MakeDir(const std::string& dir);
    // Lists the directory, DELE for every entry (results ignored), CWD "/", RMD. Does not descend.
    virtual unsigned int RemoveDir(const std::string& dir);

private:
    CFtpClientImpl* m_pImpl;
};

} // namespace PLX_FTP_CLIENT

#endif // PLXFTPCLIENT_H
