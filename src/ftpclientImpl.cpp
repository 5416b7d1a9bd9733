#include "ftpclientImpl.h"

#include <cstring>
#include <memory>
#include <sstream>

#include "ftpcommand.h"
#include "log.h"

namespace PLX_FTP_CLIENT {
namespace {

const char kLogFile[] = "ftpclientImpl";
const char kEmptyRootWarning[] = "FTPRoot is empty! It is dangerous for other ftp handles!";

bool TooLong(const std::string& path) { return std::strlen(path.c_str()) > kMaxRemotePath; }

void DeleteAll(std::vector<TkFileInfo*>& files)
{
    for (TkFileInfo* info : files) {
        delete info;
    }
    files.clear();
}

} // namespace

// ---- Exported facade: every operation forwards to the implementation ----------------------------------------------

CFtpClient::CFtpClient(const std::string& host, unsigned short port, const std::string& user,
                       const std::string& password)
    : m_pImpl(nullptr)
{
    std::unique_ptr<CFtpClientImpl> impl(new CFtpClientImpl());
    impl->SetServerInfo(host, port, user, password);
    m_pImpl = impl.release();
    setParam(5, 2, 2);
}

CFtpClient::~CFtpClient() { delete m_pImpl; }

void CFtpClient::setParam(unsigned short usTimeOut, unsigned short usRetryTimes, unsigned short usRetryTimeOut)
{
    m_pImpl->setParam(usTimeOut, usRetryTimes, usRetryTimeOut);
}

unsigned int CFtpClient::Login() { return m_pImpl->Login(); }
unsigned int CFtpClient::Close() { return m_pImpl->Close(); }
unsigned int CFtpClient::ChangeDir(const std::string& dir) { return m_pImpl->ChangeDir(dir); }

unsigned int CFtpClient::ListFile(const std::string& dir, std::vector<TkFileInfo*>& files)
{
    return m_pImpl->ListFile(dir, files);
}

unsigned int CFtpClient::checkOneFileExist(const std::string& dir, const std::string& file)
{
    return m_pImpl->checkOneFileExist(dir, file);
}

unsigned int CFtpClient::checkOneFileExist(const std::string& path) { return m_pImpl->checkOneFileExist(path); }

unsigned int CFtpClient::GetOneFile(const std::string& remote, const std::string& local, bool flag)
{
    return m_pImpl->GetOneFile(remote, local, flag);
}

unsigned int CFtpClient::PutOneFileToFile(const std::string& local, const std::string& remote)
{
    return m_pImpl->PutOneFileToFile(local, remote);
}

unsigned int CFtpClient::PutOneFileToPath(const std::string& local, const std::string& remoteDir)
{
    return m_pImpl->PutOneFileToPath(local, remoteDir);
}

unsigned int CFtpClient::GetFile(std::vector<Ftp_File_Pair>& files, bool flag) { return m_pImpl->GetFile(files, flag); }
unsigned int CFtpClient::PutFile(std::vector<Ftp_File_Pair>& files) { return m_pImpl->PutFile(files); }
unsigned int CFtpClient::RemoveFile(const std::string& path) { return m_pImpl->RemoveFile(path); }
unsigned int CFtpClient::MakeDir(const std::string& dir) { return m_pImpl->MakeDir(dir); }
unsigned int CFtpClient::RemoveDir(const std::string& dir) { return m_pImpl->RemoveDir(dir); }

// ---- Implementation: session --------------------------------------------------------------------------------------

CFtpClientImpl::CFtpClientImpl() : m_pCommand(new CFtpCommand()) {}

// Destroys the command object without closing anything: only Close ends a session.
CFtpClientImpl::~CFtpClientImpl() { delete m_pCommand; }

void CFtpClientImpl::SetServerInfo(const std::string& host, unsigned short port, const std::string& user,
                                   const std::string& password)
{
    m_pCommand->SetServerInfo(host, port, user, password);
}

void CFtpClientImpl::setParam(unsigned short usTimeOut, unsigned short usRetryTimes, unsigned short usRetryTimeOut)
{
    m_pCommand->SetParam(usTimeOut, usRetryTimes, usRetryTimeOut);
}

unsigned int CFtpClientImpl::Login()
{
    unsigned int result = m_pCommand->ConnectServer();
    if (result != FTP_OK) {
        return result;
    }
    result = m_pCommand->Ftp_user();
    if (result != FTP_OK) {
        return result;
    }
    result = m_pCommand->Ftp_pass();
    if (result != FTP_OK) {
        return result;
    }
    // A server that refuses PWD still gives a successful login; the root then keeps its old value.
    m_pCommand->FTP_pwd(m_strFtpRoot);
    return FTP_OK;
}

unsigned int CFtpClientImpl::Close()
{
    unsigned int quit = m_pCommand->Ftp_quit();
    int dataClosed = m_pCommand->CloseDataSock();
    int cmdClosed = m_pCommand->CloseCmdSock();
    unsigned int closed = (dataClosed != 0 || cmdClosed != 0) ? FTP_ERR_CLOSE : FTP_OK;
    return (quit != FTP_OK || closed != FTP_OK) ? FTP_ERR_CLOSE : FTP_OK;
}

// ---- Implementation: remote paths and directory operations --------------------------------------------------------

std::string CFtpClientImpl::addRoodDir(const std::string& path, const std::string& root)
{
    if (root.empty()) {
        LogError(0, kEmptyRootWarning, PLX_HERE("addRoodDir"));
        return path;
    }
    if (path.empty()) {
        // The same words as for an empty root; only the source line tells the two apart.
        LogError(0, kEmptyRootWarning, PLX_HERE("addRoodDir"));
        return std::string();
    }
    std::string absolute = path;
    if (absolute[0] != '/' && absolute[0] != '\\') {
        absolute.insert(0, "/");
    }
    std::string base = root;
    for (std::string::size_type at = base.find('\\'); at != std::string::npos; at = base.find('\\', at + 1)) {
        base.replace(at, 1, "/");
    }
    if (!base.empty() && base.back() == '/') {
        base.pop_back();
    }
    if (base.empty() || base == "/") {
        return absolute;
    }
    return base + absolute;
}

unsigned int CFtpClientImpl::ChangeDir(const std::string& dir)
{
    std::string absolute = addRoodDir(dir, m_strFtpRoot);
    // Measures the caller's argument, not the absolute path: a short path under a long root is left to the server.
    if (TooLong(dir)) {
        return FTP_ERR_NO_SUCH_FILE;
    }
    return m_pCommand->Ftp_cwd(absolute);
}

unsigned int CFtpClientImpl::RemoveFile(const std::string& path)
{
    std::string absolute = addRoodDir(path, m_strFtpRoot);
    if (TooLong(absolute)) {
        return FTP_ERR_NO_SUCH_FILE;
    }
    return m_pCommand->Ftp_dele(absolute);
}

unsigned int CFtpClientImpl::MakeDir(const std::string& dir)
{
    std::string absolute = addRoodDir(dir, m_strFtpRoot);
    if (TooLong(absolute)) {
        return FTP_ERR_NO_SUCH_FILE;
    }
    unsigned int result = m_pCommand->Ftp_cwd("/");
    if (result != FTP_OK) {
        return result;
    }
    // Walk down from the server's top directory, one relative level at a time.
    std::istringstream levels(absolute);
    std::string level;
    while (std::getline(levels, level, '/')) {
        if (level.empty()) {
            continue;
        }
        if (m_pCommand->Ftp_cwd(level + "/") == FTP_OK) {
            continue;
        }
        result = m_pCommand->Ftp_mkd(level);
        if (result != FTP_OK) {
            return result;
        }
        result = m_pCommand->Ftp_cwd(level + "/");
        if (result != FTP_OK) {
            return result;
        }
    }
    return FTP_OK;
}

// ---- Implementation: listing, existence checks, directory removal -------------------------------------------------

unsigned int CFtpClientImpl::ListFile(const std::string& dir, std::vector<TkFileInfo*>& files)
{
    // The caller's argument is measured, as in ChangeDir.
    if (TooLong(dir)) {
        return FTP_ERR_NO_SUCH_FILE;
    }
    return ListDirInfo(dir, false, files);
}

unsigned int CFtpClientImpl::ListDirInfo(const std::string& dir, bool bAllEntries, std::vector<TkFileInfo*>& files)
{
    std::string absolute = addRoodDir(dir, m_strFtpRoot);
    std::string text;
    unsigned int result = m_pCommand->Ftp_ListFile(absolute, text);
    if (result == FTP_OK) {
        InterpDirInfo(text, bAllEntries, files);
    }
    return result;
}

unsigned int CFtpClientImpl::checkOneFileExist(const std::string& dir, const std::string& file)
{
    std::vector<TkFileInfo*> entries;
    unsigned int result = ListFile(dir, entries);
    if (result != FTP_OK || entries.empty()) {
        DeleteAll(entries);
        return FTP_ERR_REPLY_521;  // every failure reads as "not there"
    }
    bool found = false;
    for (TkFileInfo* entry : entries) {
        if (entry->strFileName == file) {
            found = true;
        }
    }
    DeleteAll(entries);
    return found ? FTP_OK : FTP_ERR_REPLY_521;
}

unsigned int CFtpClientImpl::checkOneFileExist(const std::string& path)
{
    std::string dir;
    std::string name;
    m_pCommand->GetFtpFileAndDir(path, name, dir);
    return checkOneFileExist(dir, name);
}

unsigned int CFtpClientImpl::RemoveDir(const std::string& dir)
{
    std::string absolute = addRoodDir(dir, m_strFtpRoot);
    if (TooLong(absolute)) {
        return FTP_ERR_NO_SUCH_FILE;
    }
    std::vector<TkFileInfo*> entries;
    unsigned int result = ListDirInfo(dir, true, entries);
    if (result != FTP_OK) {
        DeleteAll(entries);
        return result;
    }
    // Files, directories and links alike; a subdirectory's DELE fails quietly and so does the RMD after it.
    for (TkFileInfo* entry : entries) {
        std::string path = absolute == "/" ? "/" + entry->strFileName : absolute + "/" + entry->strFileName;
        m_pCommand->Ftp_dele(path);
    }
    DeleteAll(entries);
    m_pCommand->Ftp_cwd("/");  // do not stand inside the directory being removed
    return m_pCommand->Ftp_rmd(absolute);
}

// ---- Implementation: file transfers -------------------------------------------------------------------------------

unsigned int CFtpClientImpl::StartOneFile(const std::string& remote, std::string& absolute)
{
    absolute = addRoodDir(remote, m_strFtpRoot);
    if (TooLong(absolute)) {
        return FTP_ERR_NO_SUCH_FILE;
    }
    return m_pCommand->Ftp_type(0);  // TYPE I once per file
}

unsigned int CFtpClientImpl::GetOneFile(const std::string& remote, const std::string& local, bool flag)
{
    (void)flag;  // accepted and ignored: the whole file is always fetched
    std::string absolute;
    unsigned int result = StartOneFile(remote, absolute);
    return result != FTP_OK ? result : m_pCommand->Ftp_GetFile(absolute, local, false);
}

unsigned int CFtpClientImpl::PutOneFileToFile(const std::string& local, const std::string& remote)
{
    std::string absolute;
    unsigned int result = StartOneFile(remote, absolute);
    return result != FTP_OK ? result : m_pCommand->Ftp_PutFile(local, absolute);
}

unsigned int CFtpClientImpl::PutOneFileToPath(const std::string& local, const std::string& remoteDir)
{
    std::string name;
    std::string unusedDir;
    m_pCommand->GetFtpFileAndDir(local, name, unusedDir);
    return PutOneFileToFile(local, remoteDir + "/" + name);
}

unsigned int CFtpClientImpl::GetFile(std::vector<Ftp_File_Pair>& files, bool flag)
{
    (void)flag;  // accepted and ignored, as in GetOneFile
    return TransferBatch(files, true);
}

unsigned int CFtpClientImpl::PutFile(std::vector<Ftp_File_Pair>& files) { return TransferBatch(files, false); }

unsigned int CFtpClientImpl::TransferBatch(const std::vector<Ftp_File_Pair>& files, bool download)
{
    // TYPE I once per batch, even an empty one; the first failure ends the batch.
    unsigned int result = m_pCommand->Ftp_type(0);
    if (result != FTP_OK) {
        return result;
    }
    for (const Ftp_File_Pair& pair : files) {
        std::string absolute = addRoodDir(download ? pair.strSrcFile : pair.strDstFile, m_strFtpRoot);
        if (TooLong(absolute)) {
            return FTP_ERR_NO_SUCH_FILE;
        }
        result = download ? m_pCommand->Ftp_GetFile(absolute, pair.strDstFile, false)
                          : m_pCommand->Ftp_PutFile(pair.strSrcFile, absolute);
        if (result != FTP_OK) {
            return result;
        }
    }
    return FTP_OK;
}

} // namespace PLX_FTP_CLIENT
