// plxftp: shared declarations of the command-line client (options, exit codes, the pieces main.cpp ties together).
#ifndef PLXFTP_CLI_H
#define PLXFTP_CLI_H

#include <cstdio>
#include <string>
#include <vector>

namespace PLX_FTP_CLIENT {
class CFtpClient;
struct TkFileInfo;
} // namespace PLX_FTP_CLIENT

namespace plxftp {

// The exit status of a run.
enum ExitCode : int {
    kExitOk = 0,    // the command did what it was asked; "exists" found the path
    kExitNo = 1,    // "exists" only: the path was not found
    kExitUsage = 2, // bad options or arguments; nothing was sent
    kExitFtp = 3,   // the library reported a failure (connect, login or the command): code, name, meaning on stderr
    kExitLocal = 4, // a local problem: unreadable password file, local file or folder, unknown host name
};

struct Options {
    std::string host;
    unsigned short port = 21;
    std::string user = "anonymous";
    std::string passwordFile; // empty: not given
    unsigned short timeOut = 5;
    unsigned short retryTimes = 2;
    unsigned short retryTimeOut = 2;
    bool verbose = false;
    bool progress = true; // --no-progress clears it
    bool help = false;
    bool listCodes = false;
    std::string command;
    std::vector<std::string> args;
};

// options.cpp
// Parses argv into options. On a usage error returns false with a message in error.
bool ParseOptions(int argc, char** argv, Options& options, std::string& error);
void PrintUsage(std::FILE* out);
// The password: --password-file (its first line), else $PLXFTP_PASSWORD, else asked on the terminal when stdin
// is one; anonymous users are not asked. Returns false (with a message) when the password file cannot be read.
bool ObtainPassword(const Options& options, std::string& password, std::string& error);

// commands.cpp
// Checks the command name and the number of its arguments before anything is sent.
bool CheckCommand(const Options& options, std::string& error);
// Runs the command on a logged-in client; returns the exit code.
int RunCommand(PLX_FTP_CLIENT::CFtpClient& client, const Options& options);

// result_meanings.cpp
// A one-line meaning of a result code, or nullptr for a value that is not one of the FTP_* constants.
const char* FtpResultMeaning(unsigned int code);
// Every result code the library defines, FTP_OK first.
const std::vector<unsigned int>& AllResultCodes();

// output.cpp
// "plxftp: <what>: 0x3BB0000E FTP_ERR_NO_SUCH_FILE: <meaning>" on stderr.
void PrintFtpFailure(const std::string& what, unsigned int code);
// "plxftp: <what>" on stderr.
void PrintLocalFailure(const std::string& what);
// With verbose: library log lines on stderr as "[error 0x3BB00001 ftpclientcom:Connect] text"; without: none
// (failures are reported by plxftp itself).
void InstallLogSink(bool verbose);
// "[plxftp] text" on stderr, only with verbose.
void Trace(const Options& options, const std::string& text);
// One line on stderr; a progress bar being drawn is cleared first (it is redrawn on its next tick).
void WriteDiagnostic(const std::string& line);
// The progress bar's line on stream (a terminal): drawn over itself, then ended with a line feed (keep) or
// cleared away.
void DrawBarLine(std::FILE* stream, const std::string& text);
void EndBarLine(std::FILE* stream, bool keep);
// The listing as an aligned table, one entry a line: type (dir, file, link), size right-aligned, time, name.
std::string FormatListing(const std::vector<const PLX_FTP_CLIENT::TkFileInfo*>& entries);
// "1.5 MiB" style size text.
std::string HumanBytes(unsigned long long bytes);

} // namespace plxftp

#endif // PLXFTP_CLI_H
