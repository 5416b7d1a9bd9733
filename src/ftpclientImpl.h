// CFtpClientImpl: the object behind the exported CFtpClient. Owns the command object and the root (the directory
// reported at login), joins every caller path to the root, and composes the public operations from commands.
// Also declares the listing parser that turns LIST text into TkFileInfo records.
#ifndef PLX_FTPCLIENTIMPL_H
#define PLX_FTPCLIENTIMPL_H

#include <ctime>
#include <string>
#include <vector>

#include "plxftpclient.h"

namespace PLX_FTP_CLIENT {

class CFtpCommand;

// Longest absolute remote path accepted, in bytes up to the first NUL.
constexpr size_t kMaxRemotePath = 260;

class CFtpClientImpl {
public:
    CFtpClientImpl();
    ~CFtpClientImpl();
    CFtpClientImpl(const CFtpClientImpl&) = delete;
    CFtpClientImpl& operator=(const CFtpClientImpl&) = delete;

    void SetServerInfo(const std::string& host, unsigned short port, const std::string& user,
                       const std::string& password);
    void setParam(unsigned short usTimeOut, unsigned short usRetryTimes, unsigned short usRetryTimeOut);

    unsigned int Login();
    unsigned int Close();

    unsigned int ChangeDir(const std::string& dir);
    unsigned int RemoveFile(const std::string& path);
    unsigned int MakeDir(const std::string& dir);

    unsigned int ListFile(const std::string& dir, std::vector<TkFileInfo*>& files);
    unsigned int ListDirInfo(const std::string& dir, bool bAllEntries, std::vector<TkFileInfo*>& files);
    unsigned int checkOneFileExist(const std::string& dir, const std::string& file);
    unsigned int checkOneFileExist(const std::string& path);
    unsigned int RemoveDir(const std::string& dir);

    unsigned int GetOneFile(const std::string& remote, const std::string& local, bool flag);
    unsigned int PutOneFileToFile(const std::string& local, const std::string& remote);
    unsigned int PutOneFileToPath(const std::string& local, const std::string& remoteDir);
    unsigned int GetFile(std::vector<Ftp_File_Pair>& files, bool flag);
    unsigned int PutFile(std::vector<Ftp_File_Pair>& files);

    // The absolute remote path for a caller's path: the root (backslashes made '/', one trailing '/' dropped)
    // followed by the path (given a leading '/' unless it starts with '/' or '\'). Logs when root or path is empty.
    std::string addRoodDir(const std::string& path, const std::string& root);

    CFtpCommand& Command() { return *m_pCommand; }
    const std::string& Root() const { return m_strFtpRoot; }

private:
    // A single transfer's first steps: the joined path (refused over 260 bytes) and TYPE I.
    unsigned int StartOneFile(const std::string& remote, std::string& absolute);
    // A batch in index order: remote is the source when downloading, the destination when uploading.
    unsigned int TransferBatch(const std::vector<Ftp_File_Pair>& files, bool download);

    CFtpCommand* m_pCommand;
    std::string m_strFtpRoot;
};

// ---- Listing parser -----------------------------------------------------------------------------------------------

// Appends, in line order, one new record per line that is a Unix (nine-column) or MS-DOS (four-column) entry.
// Only complete lines count: text after the last line feed is not read.
void InterpDirInfo(const std::string& text, bool bAllEntries, std::vector<TkFileInfo*>& files);
TkFileInfo* InterpFileInfo(const char* line, bool bAllEntries);
TkFileInfo* InterpWinFileInfo(char* const* columns);
TkFileInfo* InterpUnixFileInfo(char* const* columns, bool bAllEntries);
std::string GetFileDateTime(const char* month, const char* day, const char* timeOrYear);
std::string GetMonthNum(const char* month);
void GetHourAndMin(const char* szHM, unsigned int& hour, unsigned int& minute);
bool IsNoReadWrite(const char* permissions);

// The clock the parser reads to infer the year of recent entries (::time unless replaced, for tests).
using ListingClock = time_t (*)(time_t*);
void SetListingClock(ListingClock clock);

} // namespace PLX_FTP_CLIENT

#endif // PLX_FTPCLIENTIMPL_H
