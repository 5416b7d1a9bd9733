// What each result code of the library means, in one line, for plxftp's failure messages and "plxftp --codes".
#include "plxftpclient.h"

#include "cli.h"

namespace plxftp {
namespace {

using namespace PLX_FTP_CLIENT;

struct Meaning {
    unsigned int code;
    const char* text;
};

// Every constant of include/plxftpclient.h, in the header's order.
const Meaning kMeanings[] = {
    {FTP_OK, "success"},
    {FTP_ERR_CONNECT, "the control or data connection could not be made (server down, wrong host or port?)"},
    {FTP_ERR_SEND, "a command could not be sent: the control connection is broken"},
    {FTP_ERR_BLANK_REPLY, "the server sent no reply within the time-out and its retries"},
    {FTP_ERR_LOCAL_OPEN, "the local file to upload cannot be opened"},
    {FTP_ERR_LOCAL_CREATE, "the local file to download into cannot be created"},
    {FTP_ERR_PASS_DENIED, "login refused: wrong user name or password (530 to PASS)"},
    {FTP_ERR_CWD_REPLY, "the server refused to enter the directory (550): it may not exist"},
    {FTP_ERR_MKD_REPLY, "the server refused to create the directory (550)"},
    {FTP_ERR_RMD_REPLY, "the server refused to remove the directory (550): missing, or it still holds entries"},
    {FTP_ERR_DELE_REPLY, "the server refused to delete the file (550)"},
    {FTP_ERR_PERMISSION, "the server denied permission (501/550 \"permission denied\")"},
    {FTP_ERR_NO_SUCH_FILE, "no such file or directory on the server (or a remote path over 260 bytes)"},
    {FTP_ERR_REPLY_421, "service not available: the server is closing the connection (or sent no reply at all)"},
    {FTP_ERR_REPLY_425, "the server cannot open the data connection (425)"},
    {FTP_ERR_REPLY_426, "the data connection was closed and the transfer aborted (426)"},
    {FTP_ERR_REPLY_450, "the file is unavailable, for example busy; nothing was done (450)"},
    {FTP_ERR_REPLY_451, "the server hit a local error and aborted the action (451)"},
    {FTP_ERR_REPLY_452, "not enough storage space on the server (452)"},
    {FTP_ERR_REPLY_501, "the server rejected the command's arguments as malformed (501)"},
    {FTP_ERR_REPLY_521, "already exists (521 or an \"exists\" reply); from an existence check: not found"},
    {FTP_ERR_REPLY_553, "the file name is not allowed by the server (553)"},
    {FTP_ERR_REPLY_552, "the storage allocation on the server is exceeded (552)"},
    {FTP_ERR_REPLY_550, "the server did not take the action: file unavailable (550)"},
    {FTP_ERR_REPLY_530, "not logged in (530)"},
    {FTP_ERR_CLOSE, "closing the session failed (QUIT not acknowledged or a socket not closed)"},
    {FTP_ERR_SERVER_SHUTDOWN, "the server says it is shutting down"},
    {FTP_ERR_UNKNOWN_REPLY, "the server answered with an error reply code the library does not know"},
    {FTP_ERR_PASV_PARSE, "the passive-mode (227) reply did not hold the server's address as given in HOST"},
};

} // namespace

const char* FtpResultMeaning(unsigned int code)
{
    for (const Meaning& meaning : kMeanings) {
        if (meaning.code == code) {
            return meaning.text;
        }
    }
    return nullptr;
}

const std::vector<unsigned int>& AllResultCodes()
{
    static const std::vector<unsigned int> codes = [] {
        std::vector<unsigned int> all;
        for (const Meaning& meaning : kMeanings) {
            all.push_back(meaning.code);
        }
        return all;
    }();
    return codes;
}

} // namespace plxftp
