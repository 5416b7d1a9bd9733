#include "ftpcommand.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "OrkaCommonUtils.h"
#include "OrkaOS.h"
#include "log.h"
#include "plxftpclient.h"

namespace PLX_FTP_CLIENT {
namespace {

const char kLogFile[] = "ftpcommand";

constexpr int kReplyBufferSize = 521;  // one receive of at most 520 bytes plus its terminating NUL
constexpr int kReplyRecvSize = 520;
constexpr int kDataTimeOut = 5;        // data connect and every data receive; not a setting
constexpr int kBlockSize = 1024;
constexpr size_t kFileBufferSize = 256 * 1024;  // stdio buffer of a local file: blocks still go one fwrite each

struct ReplyRow {
    int code;
    unsigned int result;
};

// Searched in this order. From 521 on the codes do not ascend with the reply numbers; callers rely on the mapping.
const ReplyRow kReplyTable[] = {
    {421, FTP_ERR_REPLY_421}, {425, FTP_ERR_REPLY_425}, {426, FTP_ERR_REPLY_426}, {450, FTP_ERR_REPLY_450},
    {451, FTP_ERR_REPLY_451}, {452, FTP_ERR_REPLY_452}, {501, FTP_ERR_REPLY_501}, {521, FTP_ERR_REPLY_521},
    {530, FTP_ERR_REPLY_530}, {550, FTP_ERR_REPLY_550}, {552, FTP_ERR_REPLY_552}, {553, FTP_ERR_REPLY_553},
};

// A receive is usable when it starts with real text, or with the line feed that ends a pending partial line.
bool FirstByteUsable(const char* buf, const std::string& pending)
{
    return (buf[0] != '\0' && buf[0] != '\n') || (buf[0] == '\n' && !pending.empty());
}

bool BeginsWith(const std::string& reply, const char* code) { return reply.find(code) == 0; }

bool Contains(const std::string& reply, const char* code) { return reply.find(code) != std::string::npos; }

void LogMismatch(unsigned int result, const char* message, const std::string& reply, const LocationInfo& where)
{
    LogError(result, std::string(message) + reply, where);
}

// A CR or LF inside an argument would end the command line early and let the rest arrive as a command of its
// own. Such an argument is refused before anything is sent (the text after a NUL byte is never sent, so only the
// C string counts).
bool RefusedLineBreak(const char* argument, const char* function)
{
    if (std::strpbrk(argument, "\r\n") == nullptr) {
        return false;
    }
    LogError(FTP_ERR_SEND, std::string(function) + " refused the argument: it holds a line break",
             LocationInfo(kLogFile, function, __LINE__));
    return true;
}

} // namespace

// ---- Reply classification -----------------------------------------------------------------------------------------

unsigned int ClassifyReply(int code, const std::string& text)
{
    unsigned int result = FTP_ERR_UNKNOWN_REPLY;
    for (const ReplyRow& row : kReplyTable) {
        if (row.code == code) {
            result = row.result;
            break;
        }
    }
    if (text.empty()) {
        return result;
    }
    const char* reply = text.c_str();
    if (WildcardMatch(reply, "*FTP*server*shutdown*")) {
        return FTP_ERR_SERVER_SHUTDOWN;
    }
    if (result == FTP_ERR_REPLY_501 || result == FTP_ERR_REPLY_550) {
        if (WildcardMatch(reply, "*Permission denied*") || WildcardMatch(reply, "*permission denied*")) {
            return FTP_ERR_PERMISSION;
        }
        if (WildcardMatch(reply, "*No such file or directory*") ||
            WildcardMatch(reply, "*no such file or directory*") || WildcardMatch(reply, "*Can't open file*") ||
            WildcardMatch(reply, "*Unknown directory*")) {
            return FTP_ERR_NO_SUCH_FILE;
        }
        if (WildcardMatch(reply, "*exists*")) {
            return FTP_ERR_REPLY_521;
        }
    }
    return result;
}

int WildcardMatch(const char* text, const char* pattern)
{
    const char* resumePattern = nullptr;  // just after the last '*' run
    const char* resumeText = nullptr;     // where that '*' tries next
    while (*text != '\0') {
        if (*pattern == '*') {
            // A run of '*' and '?' after a '*' is swallowed whole: such a '?' needs no character of its own.
            while (*pattern == '*' || *pattern == '?') {
                ++pattern;
            }
            if (*pattern == '\0') {
                return 1;
            }
            resumePattern = pattern;
            resumeText = text + 1;
        } else if (*pattern == *text || *pattern == '?') {
            ++pattern;
            ++text;
        } else if (resumePattern != nullptr) {
            pattern = resumePattern;
            text = resumeText++;
        } else {
            return 0;
        }
    }
    while (*pattern == '*') {
        ++pattern;
    }
    return *pattern == '\0' ? 1 : 0;
}

int WildcardMatchChecked(const char* text, const char* pattern)
{
    if (text == nullptr || pattern == nullptr || *text == '\0') {
        return 0;
    }
    return WildcardMatch(text, pattern);
}

// ---- Command object -----------------------------------------------------------------------------------------------

CFtpCommand::CFtpCommand() { m_iPassive = 1; }

void CFtpCommand::SetServerInfo(const std::string& host, unsigned short port, const std::string& user,
                                const std::string& password)
{
    m_strHost = host;
    m_usPort = port;
    m_strUser = user;
    m_strPassword = password;
}

void CFtpCommand::GetServerInfo(std::string& host, unsigned short& port, std::string& user,
                                std::string& password) const
{
    host = m_strHost;
    port = m_usPort;
    user = m_strUser;
    password = m_strPassword;
}

void CFtpCommand::SetParam(unsigned short usTimeOut, unsigned short usRetryTimes, unsigned short usRetryTimeOut)
{
    m_usTimeOut = usTimeOut;
    m_usRetryTimes = usRetryTimes;
    m_usRetryTimeOut = usRetryTimeOut;
}

// ---- Reply reader -------------------------------------------------------------------------------------------------

unsigned int CFtpCommand::GetRetCode(std::string& reply, int tries)
{
    std::string pending;  // the line being assembled, or after a complete receive its last line
    char buf[kReplyBufferSize];
    for (;;) {
        ZeroFill(buf, sizeof(buf), PLX_HERE("GetRetCode"));
        int received = RecvCmd(buf, kReplyRecvSize, m_usTimeOut);
        int retries = 0;
        if (!FirstByteUsable(buf, pending)) {
            if (tries == 0) {
                return ClassifyReply(421, reply);
            }
            int i = 0;
            for (; i < tries; ++i) {
                ZeroFill(buf, sizeof(buf), PLX_HERE("GetRetCode"));
                received = RecvCmd(buf, kReplyRecvSize, m_usRetryTimeOut);
                if (FirstByteUsable(buf, pending)) {
                    break;
                }
                // Measured against the setting, not against tries: when tries is smaller the reader goes on
                // reading a silent connection from the top. Callers rely on this exact give-up point.
                if (i == static_cast<int>(m_usRetryTimes) - 1) {
                    LogError(FTP_ERR_BLANK_REPLY, "GetRetCode error : get response is blank line:",
                             PLX_HERE("GetRetCode"));
                    return FTP_ERR_BLANK_REPLY;
                }
            }
            retries = i;
        }

        if (received > 0) {
            buf[received] = '\0';
        }
        pending.append(buf);
        LogInfo("GetRetCode msg begin: ****** :end by using " + IntToStr(retries) + " times\n",
                PLX_HERE("GetRetCode"));

        if (received > 0 && buf[received - 1] == '\n') {
            reply += pending;
            if (pending.size() >= 2) {
                std::string::size_type lastBreak = pending.rfind('\n', pending.size() - 2);
                if (lastBreak != std::string::npos) {
                    pending.erase(0, lastBreak + 1);
                }
            }
            if (pending.size() > 3 && pending[3] == ' ') {
                break;
            }
            pending.clear();
        }
    }

    char digits[4] = {pending[0], pending[1], pending[2], '\0'};
    long code = std::strtol(digits, nullptr, 10);
    long replyClass = code / 100;
    if (replyClass >= 1 && replyClass <= 3) {
        return FTP_OK;
    }
    return ClassifyReply(static_cast<int>(code), reply);
}

unsigned int CFtpCommand::GetRetCode(std::string& reply) { return GetRetCode(reply, m_usRetryTimes); }

unsigned int CFtpCommand::ReadReply(int tries)
{
    std::string scratch;
    return GetRetCode(scratch, tries);
}

unsigned int CFtpCommand::ReadReply() { return ReadReply(m_usRetryTimes); }

// ---- Session commands ---------------------------------------------------------------------------------------------

unsigned int CFtpCommand::ConnectServer()
{
    ServerAddr addr;
    addr.strHost = m_strHost;
    addr.usPort = m_usPort;
    addr.iPassive = 1;

    if (Connect(addr, m_usTimeOut) < 0) {
        if (m_usRetryTimes == 0) {
            return FTP_ERR_CONNECT;
        }
        bool connected = false;
        for (int attempt = 0; attempt < m_usRetryTimes && !connected; ++attempt) {
            connected = Connect(addr, m_usRetryTimeOut) >= 0;
        }
        if (!connected) {
            return FTP_ERR_CONNECT;
        }
    }

    unsigned int result = ReadReply(m_usRetryTimes);
    if (result == FTP_ERR_BLANK_REPLY) {
        // A server that stays silent on connecting is accepted after a second read.
        ReadReply(m_usRetryTimes);
        return FTP_OK;
    }
    return result;
}

template <typename... Args>
int CFtpCommand::SendFormatted(const char* function, size_t size, const char* format, Args... args)
{
    char* buffer = new char[size];
    if (size != 0) {
        ZeroFill(buffer, size, LocationInfo(kLogFile, function, __LINE__));
    }
    int written = snprintf_s(buffer, size, size - 1, format, args...);
    if (written < 0) {
        LogSnprintfFailure(written, LocationInfo(kLogFile, function, __LINE__));
    }
    int sent = SendCmd(buffer, static_cast<int>(std::strlen(buffer)));
    delete[] buffer;
    return sent;
}

unsigned int CFtpCommand::SendConstant(const char* line, std::string& text)
{
    if (SendCmd(line, static_cast<int>(std::strlen(line))) <= 0) {
        return FTP_ERR_SEND;
    }
    return GetRetCode(text, m_usRetryTimes);
}

void CFtpCommand::CheckReplyBegins(const std::string& reply, const char* expected, unsigned int result,
                                   const char* message, const char* function)
{
    if (!BeginsWith(reply, expected)) {
        LogMismatch(result, message, reply, LocationInfo(kLogFile, function, __LINE__));
    }
}

unsigned int CFtpCommand::Ftp_user()
{
    if (RefusedLineBreak(m_strUser.c_str(), "Ftp_user")) {
        return FTP_ERR_SEND;
    }
    if (SendFormatted("Ftp_user", m_strUser.size() + 20, "USER %s\r\n", m_strUser.c_str()) <= 0) {
        return FTP_ERR_SEND;
    }
    std::string reply;
    unsigned int result = GetRetCode(reply, m_usRetryTimes);
    // The expected code decides only the log line; a "230 " (no password needed) still returns 0.
    CheckReplyBegins(reply, "331 ", result, "Ftp_user getRetCode error,the real retCode:", "Ftp_user");
    return result;
}

unsigned int CFtpCommand::Ftp_pass()
{
    if (RefusedLineBreak(m_strPassword.c_str(), "Ftp_pass")) {
        return FTP_ERR_SEND;
    }
    if (SendFormatted("Ftp_pass", m_strPassword.size() + 20, "PASS %s\r\n", m_strPassword.c_str()) <= 0) {
        return FTP_ERR_SEND;
    }
    std::string reply;
    unsigned int result = GetRetCode(reply, m_usRetryTimes);
    CheckReplyBegins(reply, "230 ", result, "Ftp_pass getRetCode error,the real retCode:", "Ftp_pass");
    return result == FTP_ERR_REPLY_530 ? FTP_ERR_PASS_DENIED : result;
}

unsigned int CFtpCommand::Ftp_quit()
{
    std::string reply;
    unsigned int result = SendConstant("QUIT\r\n", reply);
    if (result == FTP_ERR_SEND) {
        return result;
    }
    CheckReplyBegins(reply, "221 ", result, "Ftp_quit getRetCode error,the real retCode:", "Ftp_quit");
    return result;
}

unsigned int CFtpCommand::FTP_pwd(std::string& dir)
{
    std::string reply;
    unsigned int result = SendConstant("PWD\r\n", reply);
    if (result == FTP_ERR_SEND) {
        return result;
    }
    if (!Contains(reply, "257")) {
        LogMismatch(result, "FTP_pwd getRetCode error,the real retCode:", reply, PLX_HERE("FTP_pwd"));
        return result;
    }
    std::string::size_type open = reply.find('"');
    if (open == std::string::npos) {
        return result;
    }
    std::string::size_type close = reply.find('"', open + 1);
    if (close == std::string::npos) {
        return result;
    }
    // A doubled quote inside the name is not unescaped: the name ends at the first quote after the opening one.
    size_t size = close - open;
    char* buffer = new char[size];
    ZeroFill(buffer, size, PLX_HERE("FTP_pwd"));
    CopyText(buffer, size, reply.c_str() + open + 1, size - 1, PLX_HERE("FTP_pwd"));
    dir = buffer;
    delete[] buffer;
    return result;
}

unsigned int CFtpCommand::Ftp_abor()
{
    const char line[] = "ABOR\r\n";
    if (SendCmd(line, static_cast<int>(sizeof(line) - 1)) <= 0) {
        return FTP_ERR_SEND;
    }
    CloseDataSock();
    return ReadReply(m_usRetryTimes);
}

unsigned int CFtpCommand::Ftp_syst(std::string& reply)
{
    std::string text;
    unsigned int result = SendConstant("SYST\r\n", text);
    if (result == FTP_ERR_SEND) {
        return result;
    }
    reply = text;
    return result;
}

// ---- File and directory commands ----------------------------------------------------------------------------------

unsigned int CFtpCommand::NameCommand(const char* function, const char* format, const std::string& name,
                                      bool sendConverted, bool keepText, std::string& text)
{
    // The buffer is always sized from the converted name. RETR, STOR and RMD still put the caller's own bytes on
    // the wire, so a name much longer in UTF-8 than locally no longer fits and is sent cut short.
    std::string local = OrkaCommonUtils::UTF8TOLOC(name.c_str());
    const char* argument = sendConverted ? local.c_str() : name.c_str();
    if (RefusedLineBreak(argument, function)) {
        return FTP_ERR_SEND;
    }
    if (SendFormatted(function, local.size() + 20, format, argument) <= 0) {
        return FTP_ERR_SEND;
    }
    return keepText ? GetRetCode(text, m_usRetryTimes) : ReadReply(m_usRetryTimes);
}

unsigned int CFtpCommand::Ftp_type(int iAscii)
{
    if (SendFormatted("Ftp_type", 20, "TYPE %c\r\n", iAscii != 0 ? 'A' : 'I') <= 0) {
        return FTP_ERR_SEND;
    }
    return ReadReply(m_usRetryTimes);
}

unsigned int CFtpCommand::Ftp_retr(const std::string& file)
{
    std::string unused;
    return NameCommand("Ftp_retr", "RETR %s\r\n", file, false, false, unused);
}

unsigned int CFtpCommand::Ftp_dele(const std::string& path)
{
    std::string unused;
    unsigned int result = NameCommand("Ftp_dele", "DELE %s\r\n", path, true, false, unused);
    return result == FTP_ERR_REPLY_550 ? FTP_ERR_DELE_REPLY : result;
}

unsigned int CFtpCommand::Ftp_cwd(const std::string& dir)
{
    std::string reply;
    unsigned int result = NameCommand("Ftp_cwd", "CWD %s\r\n", dir, true, true, reply);
    if (result == FTP_ERR_SEND) {
        return result;
    }
    // A plain 550 is a failure but not worth a log line; anything else unexpected is logged.
    if (!BeginsWith(reply, "250 ") && !BeginsWith(reply, "550 ") && !BeginsWith(reply, "501 ")) {
        LogMismatch(result, "Ftp_cwd getRetCode error,the real retCode:", reply, PLX_HERE("Ftp_cwd"));
    }
    return result == FTP_ERR_REPLY_550 ? FTP_ERR_CWD_REPLY : result;
}

unsigned int CFtpCommand::Ftp_list(const std::string& dir, bool& bComplete)
{
    (void)dir;  // the caller has already changed into the directory
    std::string reply;
    unsigned int result = SendConstant("LIST\r\n", reply);
    if (result == FTP_ERR_SEND) {
        return result;
    }
    if (!Contains(reply, "150 ") && !Contains(reply, "125 ")) {
        LogMismatch(result, "Ftp_list getRetCode error,the real retCode:", reply, PLX_HERE("Ftp_list"));
    }
    // The completion reply may have come with the preliminary one; the transfer then reads no further reply.
    bComplete = Contains(reply, "226 ");
    return result;
}

unsigned int CFtpCommand::Ftp_stor(const std::string& file)
{
    std::string reply;
    unsigned int result = NameCommand("Ftp_stor", "STOR %s\r\n", file, false, true, reply);
    if (result == FTP_ERR_SEND) {
        return result;
    }
    CheckReplyBegins(reply, "150 ", result, "Ftp_stor getRetCode error,the real retCode:", "Ftp_stor");
    return result;
}

unsigned int CFtpCommand::Ftp_mkd(const std::string& dir)
{
    std::string reply;
    unsigned int result = NameCommand("Ftp_mkd", "MKD %s\r\n", dir, true, true, reply);
    if (result == FTP_ERR_SEND) {
        return result;
    }
    CheckReplyBegins(reply, "257 ", result, "Ftp_mkd getRetCode error,the real retCode:", "Ftp_mkd");
    return result == FTP_ERR_REPLY_550 ? FTP_ERR_MKD_REPLY : result;
}

unsigned int CFtpCommand::Ftp_rmd(const std::string& dir)
{
    std::string reply;
    unsigned int result = NameCommand("Ftp_rmd", "RMD %s\r\n", dir, false, true, reply);
    if (result == FTP_ERR_SEND) {
        return result;
    }
    if (!BeginsWith(reply, "250 ") && !BeginsWith(reply, "200 ")) {
        LogMismatch(result, "Ftp_rmd getRetCode error,the real retCode:", reply, PLX_HERE("Ftp_rmd"));
    }
    return result == FTP_ERR_REPLY_550 ? FTP_ERR_RMD_REPLY : result;
}

void CFtpCommand::GetFtpFileAndDir(const std::string& path, std::string& file, std::string& dir)
{
    const char* text = path.c_str();
    int size = static_cast<int>(std::strlen(text) + 1);
    std::string copy;
    if (size > 0) {
        char* buffer = new char[static_cast<size_t>(size)];
        ZeroFill(buffer, static_cast<size_t>(size), PLX_HERE("GetFtpFileAndDir"));
        if (size >= 2) {
            CopyText(buffer, static_cast<size_t>(size), text, static_cast<size_t>(size - 1),
                     PLX_HERE("GetFtpFileAndDir"));
        }
        buffer[size - 1] = '\0';
        copy = buffer;
        delete[] buffer;
    }
    for (char& c : copy) {
        if (c == '\\') {
            c = '/';
        }
    }
    std::string::size_type slash = copy.rfind('/');
    if (slash == std::string::npos) {
        dir.clear();
        file = copy;
        return;
    }
    file = copy.substr(slash + 1);
    dir = slash == 0 ? std::string("/") : copy.substr(0, slash);
}

// ---- Passive data link --------------------------------------------------------------------------------------------

unsigned int CFtpCommand::GetPasvPort(const std::string& reply, unsigned short& port)
{
    std::string host = m_strHost;
    for (char& c : host) {
        if (c == '.') {
            c = ',';
        }
    }
    // A plain substring search: the host must appear in the reply exactly as the caller gave it.
    std::string::size_type start = reply.find(host);
    std::string::size_type end = start == std::string::npos ? start : reply.find(')', start);
    if (start == std::string::npos || end == std::string::npos) {
        LogError(FTP_ERR_PASV_PARSE, "GetPasvPort error:" + reply, PLX_HERE("GetPasvPort"));
        return FTP_ERR_PASV_PARSE;
    }
    std::string fields = reply.substr(start, end - start);
    std::string::size_type first = host.size() + 1;
    std::string::size_type comma = first <= fields.size() ? fields.find(',', first) : std::string::npos;
    if (comma == std::string::npos) {
        return FTP_OK;  // port left as it was; the connect that follows fails
    }
    std::string high = fields.substr(first, comma - first);
    std::string low = fields.substr(comma + 1);
    unsigned long value = (static_cast<unsigned long>(std::strtol(high.c_str(), nullptr, 10)) << 8) +
                          static_cast<unsigned long>(std::strtol(low.c_str(), nullptr, 10));
    port = static_cast<unsigned short>(value);
    return FTP_OK;
}

unsigned int CFtpCommand::Ftp_pasv(unsigned short& port)
{
    const char line[] = "PASV\r\n";
    if (SendCmd(line, static_cast<int>(sizeof(line) - 1)) <= 0) {
        return FTP_ERR_SEND;
    }
    std::string reply;
    unsigned int result = GetRetCode(reply, m_usRetryTimes);
    CheckReplyBegins(reply, "227 ", result, "Ftp_pasv getRetCode error,the real retCode:", "Ftp_pasv");
    if (result != FTP_OK) {
        return result;
    }
    // The "227 " test above only logs; the parse decides.
    return GetPasvPort(reply, port);
}

unsigned int CFtpCommand::CreatePasvDataLink()
{
    unsigned short port = 0;
    unsigned int result = Ftp_pasv(port);
    if (result != FTP_OK) {
        return result;
    }
    unsigned int ip = 0;
    int connected = ConnectData(ip, port, kDataTimeOut);
    if (connected == 0) {
        return FTP_OK;
    }
    LogError(static_cast<unsigned int>(connected),
             "CreateDataLink errorIP:" + std::to_string(ip) + "Port:" + std::to_string(port),
             PLX_HERE("CreatePasvDataLink"));
    return FTP_ERR_CONNECT;
}

// ---- Data transfers -----------------------------------------------------------------------------------------------

void CFtpCommand::ReceiveListing(std::string& text)
{
    char* buffer = new char[kBlockSize + 1];
    ZeroFill(buffer, kBlockSize + 1, PLX_HERE("Ftp_ListFile"));
    for (;;) {
        int received = RecvData(buffer, kBlockSize, kDataTimeOut);
        if (received <= 0) {
            break;
        }
        buffer[received] = '\0';
        text.append(buffer);  // as text: a NUL byte cuts off the rest of its block
    }
    delete[] buffer;
}

unsigned int CFtpCommand::Ftp_ListFile(const std::string& dir, std::string& text)
{
    unsigned int result = Ftp_cwd(dir);
    if (result != FTP_OK) {
        return result;
    }
    result = CreatePasvDataLink();
    if (result != FTP_OK) {
        return result;
    }
    bool complete = false;
    result = Ftp_list(dir, complete);
    if (result != FTP_OK) {
        CloseDataSock();
        return result;
    }
    std::string listing;
    ReceiveListing(listing);
    CloseDataSock();
    if (!complete) {
        ReadReply(0);
    }
    text = listing;
    return FTP_OK;
}

unsigned int CFtpCommand::OpenFileTransfer(const char* function, const std::string& remote, std::string& file)
{
    // Refused up front: a refused RETR or STOR would otherwise still wait for a completion reply that cannot come.
    if (RefusedLineBreak(remote.c_str(), function)) {
        return FTP_ERR_SEND;
    }
    std::string dir;
    GetFtpFileAndDir(remote, file, dir);
    unsigned int result = Ftp_cwd(dir);
    if (result != FTP_OK) {
        return result;
    }
    return CreatePasvDataLink();
}

void CFtpCommand::CloseFileTransfer()
{
    CloseDataSock();
    // The completion reply is read with the retry time-out as its try count; its result does not matter.
    ReadReply(m_usRetryTimeOut);
}

unsigned int CFtpCommand::Ftp_GetFile(const std::string& remote, const std::string& local, bool bHead)
{
    std::string file;
    unsigned int result = OpenFileTransfer("Ftp_GetFile", remote, file);
    if (result != FTP_OK) {
        return result;  // nothing opened, no reply to read
    }
    result = Ftp_retr(file);
    if (result == FTP_OK) {
        // Created only now, so a refused RETR leaves no local file behind.
        FILE* stream = ORKA_OS::fopen(OrkaCommonUtils::LOC2UTF8(local.c_str()).c_str(), "wb", "UTF-8");
        if (stream == nullptr) {
            LogError(FTP_ERR_LOCAL_CREATE, "Can not create file" + remote, PLX_HERE("Ftp_GetFile"));
            result = FTP_ERR_LOCAL_CREATE;
        } else {
            // glibc ignores the size unless it is given the buffer; it must outlive the stream.
            std::unique_ptr<char[]> fileBuffer(new char[kFileBufferSize]);
            std::setvbuf(stream, fileBuffer.get(), _IOFBF, kFileBufferSize);
            char* buffer = new char[kBlockSize + 1];
            ZeroFill(buffer, kBlockSize + 1, PLX_HERE("Ftp_GetFile"));
            unsigned int count = 0;
            for (;;) {
                int received = RecvData(buffer, kBlockSize, kDataTimeOut);
                if (received <= 0) {
                    break;
                }
                buffer[received] = '\0';
                std::fwrite(buffer, 1, static_cast<size_t>(received), stream);
                count += static_cast<unsigned int>(received);
                if (count >= kBlockSize && bHead) {
                    Ftp_abor();  // closes the data connection, so the next receive ends the loop
                }
            }
            delete[] buffer;
            std::fflush(stream);
            std::fclose(stream);
        }
    }
    CloseFileTransfer();
    return result;
}

unsigned int CFtpCommand::Ftp_PutFile(const std::string& local, const std::string& remote)
{
    std::string file;
    unsigned int result = OpenFileTransfer("Ftp_PutFile", remote, file);
    if (result != FTP_OK) {
        return result;
    }
    result = Ftp_stor(file);
    if (result == FTP_OK) {
        // Opened only after STOR was accepted: a missing file gives the server an empty upload.
        FILE* stream = ORKA_OS::fopen(OrkaCommonUtils::LOC2UTF8(local.c_str()).c_str(), "rb", "UTF-8");
        if (stream == nullptr) {
            LogError(FTP_ERR_LOCAL_OPEN, "Can not open file" + local, PLX_HERE("Ftp_PutFile"));
            result = FTP_ERR_LOCAL_OPEN;
        } else {
            std::unique_ptr<char[]> fileBuffer(new char[kFileBufferSize]);
            std::setvbuf(stream, fileBuffer.get(), _IOFBF, kFileBufferSize);
            char* buffer = new char[kBlockSize];
            ZeroFill(buffer, kBlockSize, PLX_HERE("Ftp_PutFile"));
            size_t count = std::fread(buffer, 1, kBlockSize, stream);
            while (count > 0) {
                SendData(buffer, static_cast<int>(count));  // a broken data connection does not stop the upload
                count = std::fread(buffer, 1, kBlockSize, stream);
            }
            delete[] buffer;
            std::fclose(stream);
        }
    }
    CloseFileTransfer();
    return result;
}

} // namespace PLX_FTP_CLIENT
