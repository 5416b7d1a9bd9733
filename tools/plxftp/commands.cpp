// plxftp's commands, each one library call (two for "get" with a progress bar: a listing for the size first).
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <set>

#include "plxftpclient.h"

#include "cli.h"
#include "progress.h"

namespace plxftp {
namespace {

using PLX_FTP_CLIENT::CFtpClient;
using PLX_FTP_CLIENT::Ftp_File_Pair;
using PLX_FTP_CLIENT::FTP_OK;
using PLX_FTP_CLIENT::TkFileInfo;

struct Arity {
    size_t least;
    size_t most; // 0: no upper limit
    const char* synopsis;
};

const std::map<std::string, Arity> kCommands = {
    {"ls", {0, 1, "ls [DIR]"}},
    {"exists", {1, 1, "exists PATH"}},
    {"get", {1, 2, "get REMOTE [LOCAL]"}},
    {"put", {1, 2, "put LOCAL [REMOTE]"}},
    {"mget", {2, 0, "mget LOCALDIR REMOTE..."}},
    {"mput", {2, 0, "mput REMOTEDIR LOCAL..."}},
    {"mkdir", {1, 1, "mkdir DIR"}},
    {"rm", {1, 1, "rm PATH"}},
    {"rmdir", {1, 1, "rmdir DIR"}},
};

std::string WithoutTrailingSlashes(const std::string& path)
{
    std::string trimmed = path;
    while (trimmed.size() > 1 && trimmed.back() == '/') {
        trimmed.pop_back();
    }
    return trimmed;
}

// The last part of a path ("b.bin" of "a/b.bin"); empty for "/" or "".
std::string BaseName(const std::string& path)
{
    std::string trimmed = WithoutTrailingSlashes(path);
    std::string::size_type slash = trimmed.rfind('/');
    std::string base = slash == std::string::npos ? trimmed : trimmed.substr(slash + 1);
    return base == "/" ? std::string() : base;
}

// The remote directory holding a path: "a" for "a/b.bin", "/" (the login directory) for "b.bin" or "/b.bin".
std::string RemoteParent(const std::string& path)
{
    std::string trimmed = WithoutTrailingSlashes(path);
    std::string::size_type slash = trimmed.rfind('/');
    if (slash == std::string::npos || slash == 0) {
        return "/";
    }
    return trimmed.substr(0, slash);
}

// A remote directory and a name joined; an empty or "/" directory is the login directory.
std::string RemoteJoin(const std::string& dir, const std::string& name)
{
    std::string trimmed = WithoutTrailingSlashes(dir);
    if (trimmed.empty() || trimmed == "/") {
        return "/" + name;
    }
    return trimmed + "/" + name;
}

std::string LocalJoin(const std::string& dir, const std::string& name)
{
    return !dir.empty() && dir.back() == '/' ? dir + name : dir + "/" + name;
}

bool IsLocalDirectory(const std::string& path)
{
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

long long LocalSize(const std::string& path)
{
    struct stat info {};
    return stat(path.c_str(), &info) == 0 ? static_cast<long long>(info.st_size) : -1;
}

// An upload's source must be a readable regular file: the library opens it only after the server has accepted
// STOR, so a missing file would leave an empty file on the server.
bool CheckUploadSource(const std::string& path)
{
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) {
        PrintLocalFailure("cannot upload '" + path + "': " + std::strerror(errno));
        return false;
    }
    if (!S_ISREG(info.st_mode)) {
        PrintLocalFailure("cannot upload '" + path + "': not a regular file");
        return false;
    }
    std::ifstream stream(path, std::ios::binary);
    if (!stream) {
        PrintLocalFailure("cannot upload '" + path + "': " + std::strerror(errno));
        return false;
    }
    return true;
}

void DeleteAll(std::vector<TkFileInfo*>& entries)
{
    for (TkFileInfo* entry : entries) {
        delete entry;
    }
    entries.clear();
}

int Failed(const std::string& what, unsigned int code)
{
    PrintFtpFailure(what, code);
    return kExitFtp;
}

std::string Bytes(long long size)
{
    return size < 0 ? std::string("size unknown") : std::to_string(size) + " bytes";
}

// ---- the commands -------------------------------------------------------------------------------------------------

int List(CFtpClient& client, const Options& options)
{
    std::string dir = options.args.empty() ? "/" : options.args[0];
    std::vector<TkFileInfo*> entries;
    unsigned int result = client.ListFile(dir, entries);
    if (result != FTP_OK) {
        DeleteAll(entries);
        return Failed("ls " + dir, result);
    }
    std::vector<const TkFileInfo*> sorted(entries.begin(), entries.end());
    std::sort(sorted.begin(), sorted.end(),
              [](const TkFileInfo* a, const TkFileInfo* b) { return a->strFileName < b->strFileName; });
    std::fputs(FormatListing(sorted).c_str(), stdout);
    DeleteAll(entries);
    return kExitOk;
}

int Exists(CFtpClient& client, const Options& options)
{
    const std::string& path = options.args[0];
    // The two-part form with "/" for the login directory: the one-part form would list "" for a bare name.
    unsigned int result = client.checkOneFileExist(RemoteParent(path), BaseName(path));
    Trace(options, "checkOneFileExist(\"" + RemoteParent(path) + "\", \"" + BaseName(path) +
                       "\") = " + PLX_FTP_CLIENT::FtpResultName(result));
    if (result == FTP_OK) {
        std::puts("yes");
        return kExitOk;
    }
    std::puts("no");
    return kExitNo;
}

// The size the server lists for a remote file, or -1.
long long RemoteSize(CFtpClient& client, const Options& options, const std::string& remote)
{
    std::vector<TkFileInfo*> entries;
    unsigned int result = client.ListFile(RemoteParent(remote), entries);
    long long size = -1;
    if (result == FTP_OK) {
        std::string name = BaseName(remote);
        for (const TkFileInfo* entry : entries) {
            if (entry->strFileName == name && entry->ucFileType != 1) {
                char* end = nullptr;
                long long listed = std::strtoll(entry->strFileSize.c_str(), &end, 10);
                if (end != entry->strFileSize.c_str() && *end == '\0' && listed >= 0) {
                    size = listed;
                }
            }
        }
    }
    DeleteAll(entries);
    Trace(options, "size of " + remote + " from the listing of " + RemoteParent(remote) + ": " + Bytes(size));
    return size;
}

int Get(CFtpClient& client, const Options& options)
{
    const std::string& remote = options.args[0];
    std::string local = options.args.size() > 1 ? options.args[1] : BaseName(remote);
    if (IsLocalDirectory(local)) {
        local = LocalJoin(local, BaseName(remote));
    }
    std::FILE* stream = options.progress ? ProgressStream() : nullptr;
    long long expected = -1;
    unsigned int result = FTP_OK;
    if (stream != nullptr) {
        expected = RemoteSize(client, options, remote);
        ProgressBar bar(stream, local, expected, BaseName(remote));
        bar.Start();
        result = client.GetOneFile(remote, local, false);
        bar.Finish(result == FTP_OK);
    } else {
        result = client.GetOneFile(remote, local, false);
    }
    if (result != FTP_OK) {
        return Failed("get " + remote, result);
    }
    long long received = LocalSize(local);
    std::printf("get: %s -> %s (%s)\n", remote.c_str(), local.c_str(), Bytes(received).c_str());
    if (expected >= 0 && received != expected) {
        WriteDiagnostic("plxftp: warning: received " + Bytes(received) + " but the listing showed " + Bytes(expected));
    }
    return kExitOk;
}

int Put(CFtpClient& client, const Options& options)
{
    const std::string& local = options.args[0];
    if (!CheckUploadSource(local)) {
        return kExitLocal;
    }
    std::string remote;
    unsigned int result = FTP_OK;
    if (options.args.size() < 2 || options.args[1].back() == '/') {
        // PutOneFileToPath puts "<dir>/<name>": "" gives "/<name>", the login directory.
        std::string dir = options.args.size() < 2 ? std::string() : WithoutTrailingSlashes(options.args[1]);
        if (dir == "/") {
            dir.clear();
        }
        remote = dir.empty() ? BaseName(local) : RemoteJoin(dir, BaseName(local));
        result = client.PutOneFileToPath(local, dir);
    } else {
        remote = options.args[1];
        result = client.PutOneFileToFile(local, remote);
    }
    if (result != FTP_OK) {
        return Failed("put " + local, result);
    }
    std::printf("put: %s -> %s (%s)\n", local.c_str(), remote.c_str(), Bytes(LocalSize(local)).c_str());
    return kExitOk;
}

int MultiGet(CFtpClient& client, const Options& options)
{
    const std::string& localDir = options.args[0];
    if (!IsLocalDirectory(localDir)) {
        PrintLocalFailure("mget: '" + localDir + "' is not a local folder");
        return kExitLocal;
    }
    std::vector<Ftp_File_Pair> pairs;
    for (size_t i = 1; i < options.args.size(); ++i) {
        pairs.push_back({options.args[i], LocalJoin(localDir, BaseName(options.args[i]))});
    }
    unsigned int result = client.GetFile(pairs, false);
    if (result != FTP_OK) {
        return Failed("mget (stopped at the first failure; the files before it were downloaded)", result);
    }
    for (const Ftp_File_Pair& pair : pairs) {
        std::printf("get: %s -> %s (%s)\n", pair.strSrcFile.c_str(), pair.strDstFile.c_str(),
                    Bytes(LocalSize(pair.strDstFile)).c_str());
    }
    return kExitOk;
}

int MultiPut(CFtpClient& client, const Options& options)
{
    const std::string& remoteDir = options.args[0];
    std::vector<Ftp_File_Pair> pairs;
    for (size_t i = 1; i < options.args.size(); ++i) {
        if (!CheckUploadSource(options.args[i])) {
            return kExitLocal;
        }
        pairs.push_back({options.args[i], RemoteJoin(remoteDir, BaseName(options.args[i]))});
    }
    unsigned int result = client.PutFile(pairs);
    if (result != FTP_OK) {
        return Failed("mput (stopped at the first failure; the files before it were uploaded)", result);
    }
    for (const Ftp_File_Pair& pair : pairs) {
        std::printf("put: %s -> %s (%s)\n", pair.strSrcFile.c_str(), pair.strDstFile.c_str(),
                    Bytes(LocalSize(pair.strSrcFile)).c_str());
    }
    return kExitOk;
}

int MakeDirectory(CFtpClient& client, const Options& options)
{
    unsigned int result = client.MakeDir(options.args[0]);
    if (result != FTP_OK) {
        return Failed("mkdir " + options.args[0], result);
    }
    std::printf("mkdir: %s\n", options.args[0].c_str());
    return kExitOk;
}

int RemoveFile(CFtpClient& client, const Options& options)
{
    unsigned int result = client.RemoveFile(options.args[0]);
    if (result != FTP_OK) {
        return Failed("rm " + options.args[0], result);
    }
    std::printf("rm: %s\n", options.args[0].c_str());
    return kExitOk;
}

int RemoveDirectory(CFtpClient& client, const Options& options)
{
    unsigned int result = client.RemoveDir(options.args[0]);
    if (result != FTP_OK) {
        return Failed("rmdir " + options.args[0], result);
    }
    std::printf("rmdir: %s\n", options.args[0].c_str());
    return kExitOk;
}

} // namespace

bool CheckCommand(const Options& options, std::string& error)
{
    auto found = kCommands.find(options.command);
    if (found == kCommands.end()) {
        error = "unknown command '" + options.command + "'";
        return false;
    }
    const Arity& arity = found->second;
    size_t count = options.args.size();
    if (count < arity.least || (arity.most != 0 && count > arity.most)) {
        error = std::string("usage: plxftp [options] HOST ") + arity.synopsis;
        return false;
    }
    for (const std::string& arg : options.args) {
        if (arg.empty()) {
            error = options.command + ": empty path";
            return false;
        }
    }
    const std::string& command = options.command;
    if ((command == "exists" || command == "get" || command == "rm") && BaseName(options.args[0]).empty()) {
        error = command + ": '" + options.args[0] + "' names no file";
        return false;
    }
    if (command == "put" && BaseName(options.args[0]).empty()) {
        error = "put: '" + options.args[0] + "' names no file";
        return false;
    }
    if (command == "mget" || command == "mput") {
        std::set<std::string> names;
        for (size_t i = 1; i < options.args.size(); ++i) {
            std::string name = BaseName(options.args[i]);
            if (name.empty()) {
                error = command + ": '" + options.args[i] + "' names no file";
                return false;
            }
            if (!names.insert(name).second) {
                error = command + ": two files named '" + name + "' would land on the same path";
                return false;
            }
        }
    }
    return true;
}

int RunCommand(CFtpClient& client, const Options& options)
{
    const std::string& command = options.command;
    if (command == "ls") {
        return List(client, options);
    }
    if (command == "exists") {
        return Exists(client, options);
    }
    if (command == "get") {
        return Get(client, options);
    }
    if (command == "put") {
        return Put(client, options);
    }
    if (command == "mget") {
        return MultiGet(client, options);
    }
    if (command == "mput") {
        return MultiPut(client, options);
    }
    if (command == "mkdir") {
        return MakeDirectory(client, options);
    }
    if (command == "rm") {
        return RemoveFile(client, options);
    }
    return RemoveDirectory(client, options);
}

} // namespace plxftp
