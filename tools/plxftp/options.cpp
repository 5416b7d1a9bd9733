// plxftp's command line: options, the usage text, and where the password comes from.
#include <getopt.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>

#include "cli.h"

namespace plxftp {
namespace {

enum LongOnly {
    kOptPasswordFile = 1000,
    kOptTimeout,
    kOptRetries,
    kOptRetryTimeout,
    kOptNoProgress,
    kOptCodes,
};

const option kLongOptions[] = {
    {"port", required_argument, nullptr, 'P'},
    {"user", required_argument, nullptr, 'u'},
    {"password-file", required_argument, nullptr, kOptPasswordFile},
    {"timeout", required_argument, nullptr, kOptTimeout},
    {"retries", required_argument, nullptr, kOptRetries},
    {"retry-timeout", required_argument, nullptr, kOptRetryTimeout},
    {"no-progress", no_argument, nullptr, kOptNoProgress},
    {"codes", no_argument, nullptr, kOptCodes},
    {"verbose", no_argument, nullptr, 'v'},
    {"help", no_argument, nullptr, 'h'},
    {nullptr, 0, nullptr, 0},
};

// A whole decimal number in [low, high].
bool ParseNumber(const char* text, unsigned long low, unsigned long high, unsigned short& value)
{
    if (text == nullptr || *text < '0' || *text > '9') {
        return false;
    }
    errno = 0;
    char* end = nullptr;
    unsigned long number = std::strtoul(text, &end, 10);
    if (errno != 0 || end == text || *end != '\0' || number < low || number > high) {
        return false;
    }
    value = static_cast<unsigned short>(number);
    return true;
}

// How an option that caused an error is named in the message.
std::string OptionName(int code, const char* lastArgument)
{
    if (code == 0) { // an unknown long option: as written, without any "=value"
        std::string written = lastArgument != nullptr ? lastArgument : "";
        return written.substr(0, written.find('='));
    }
    std::string name;
    for (const option& entry : kLongOptions) {
        if (entry.name != nullptr && entry.val == code) {
            name = std::string("--") + entry.name;
        }
    }
    if (code < 256) {
        std::string letter = std::string("-") + static_cast<char>(code);
        return name.empty() ? letter : letter + "/" + name;
    }
    return name;
}

termios g_savedTerminal;
volatile sig_atomic_t g_echoOff = 0;

void RestoreEchoAndExit(int signal)
{
    if (g_echoOff != 0) {
        tcsetattr(STDIN_FILENO, TCSANOW, &g_savedTerminal);
    }
    const char newline = '\n';
    ssize_t ignored = write(STDERR_FILENO, &newline, 1);
    (void)ignored;
    _exit(128 + signal);
}

// Reads one line from the terminal on stdin with echo off.
bool AskPassword(const std::string& prompt, std::string& password)
{
    std::cerr << prompt << std::flush;
    if (tcgetattr(STDIN_FILENO, &g_savedTerminal) != 0) {
        return false;
    }
    struct sigaction action {};
    action.sa_handler = RestoreEchoAndExit;
    sigemptyset(&action.sa_mask);
    struct sigaction oldInt {};
    struct sigaction oldTerm {};
    sigaction(SIGINT, &action, &oldInt);
    sigaction(SIGTERM, &action, &oldTerm);
    termios silent = g_savedTerminal;
    silent.c_lflag &= static_cast<tcflag_t>(~ECHO);
    silent.c_lflag |= ECHONL;
    g_echoOff = 1;
    tcsetattr(STDIN_FILENO, TCSANOW, &silent);
    bool read = static_cast<bool>(std::getline(std::cin, password));
    tcsetattr(STDIN_FILENO, TCSANOW, &g_savedTerminal);
    g_echoOff = 0;
    sigaction(SIGINT, &oldInt, nullptr);
    sigaction(SIGTERM, &oldTerm, nullptr);
    if (!password.empty() && password.back() == '\r') {
        password.pop_back();
    }
    return read;
}

} // namespace

void PrintUsage(std::FILE* out)
{
    std::fputs("Usage: plxftp [options] HOST COMMAND [ARGS...]\n"
               "       plxftp --codes\n"
               "\n"
               "An FTP client (passive mode, plain FTP) over libplxftpclient. Remote paths are relative to the\n"
               "directory the server puts you in at login; \"/\" is that directory.\n"
               "\n"
               "Commands:\n"
               "  ls [DIR]                list DIR (default: the login directory) as a table:\n"
               "                          type (file, dir, link), size, time, name (dir/ and link@ marked)\n"
               "  exists PATH             print \"yes\" (exit 0) or \"no\" (exit 1)\n"
               "  get REMOTE [LOCAL]      download REMOTE to LOCAL (default: its name in the current folder;\n"
               "                          an existing local folder receives it under its name)\n"
               "  put LOCAL [REMOTE]      upload LOCAL to REMOTE (default: its name in the login directory;\n"
               "                          a REMOTE ending in \"/\" is a directory that receives it under its name)\n"
               "  mget LOCALDIR REMOTE... download every REMOTE into LOCALDIR under its own name\n"
               "  mput REMOTEDIR LOCAL... upload every LOCAL into REMOTEDIR under its own name\n"
               "  mkdir DIR               create DIR and any missing parents (an existing DIR is fine)\n"
               "  rm PATH                 delete a file\n"
               "  rmdir DIR               delete the files directly inside DIR, then DIR itself; a DIR that\n"
               "                          holds subdirectories is not removed\n"
               "\n"
               "Options:\n"
               "  -P, --port N            server port (default 21)\n"
               "  -u, --user NAME         user name (default anonymous)\n"
               "      --password-file F   read the password from the first line of F\n"
               "                          (else $PLXFTP_PASSWORD, else asked on the terminal without echo when\n"
               "                          stdin is one; anonymous is never asked and sends \"anonymous@\";\n"
               "                          there is no option to give the password itself)\n"
               "      --timeout S         seconds for connecting and for each reply (default 5)\n"
               "      --retries N         further connect attempts and reply reads (default 2)\n"
               "      --retry-timeout S   seconds for each retry (default 2)\n"
               "                          N must lie between 1 and S: the library reads the reply that ends a\n"
               "                          transfer with S as its number of tries, and with other values it\n"
               "                          waits forever on a server that stays silent (as after a refused get)\n"
               "      --no-progress       no progress bar for get (there is none anyway unless stdout or\n"
               "                          stderr is a terminal)\n"
               "  -v, --verbose           print the library's log lines on stderr\n"
               "      --codes             print every result code with its name and meaning, then exit\n"
               "  -h, --help              print this help, then exit\n"
               "Options may also follow HOST and COMMAND; put \"--\" before a path that starts with \"-\".\n"
               "HOST may be a name: it is looked up (IPv4) and the address is what the library connects to,\n"
               "because the library finds the data port by looking for that address in the server's PASV reply.\n"
               "\n"
               "Exit status:\n"
               "  0  success (\"exists\": the path is there)\n"
               "  1  \"exists\": the path is not there, or its directory could not be listed\n"
               "  2  usage error: bad options or arguments, nothing was sent\n"
               "  3  failure reported by the library (connect, login or the command); stderr shows\n"
               "     \"plxftp: WHAT: 0x3BB0000E FTP_ERR_NO_SUCH_FILE: meaning\"\n"
               "  4  local failure: password file, local file or folder, host name lookup\n",
               out);
}

bool ParseOptions(int argc, char** argv, Options& options, std::string& error)
{
    opterr = 0;
    optind = 1;
    for (;;) {
        int index = 0;
        int option = getopt_long(argc, argv, ":P:u:vh", kLongOptions, &index);
        if (option == -1) {
            break;
        }
        std::string given = OptionName(optopt, argv[optind - 1]);
        switch (option) {
        case 'P':
            if (!ParseNumber(optarg, 1, 65535, options.port)) {
                error = "bad port '" + std::string(optarg) + "' (1 to 65535)";
                return false;
            }
            break;
        case 'u':
            options.user = optarg;
            if (options.user.empty()) {
                error = "empty user name";
                return false;
            }
            break;
        case kOptPasswordFile: options.passwordFile = optarg; break;
        case kOptTimeout:
            if (!ParseNumber(optarg, 1, 3600, options.timeOut)) {
                error = "bad --timeout '" + std::string(optarg) + "' (1 to 3600 seconds)";
                return false;
            }
            break;
        case kOptRetries:
            if (!ParseNumber(optarg, 1, 100, options.retryTimes)) {
                error = "bad --retries '" + std::string(optarg) + "' (1 to 100)";
                return false;
            }
            break;
        case kOptRetryTimeout:
            if (!ParseNumber(optarg, 1, 3600, options.retryTimeOut)) {
                error = "bad --retry-timeout '" + std::string(optarg) + "' (1 to 3600 seconds)";
                return false;
            }
            break;
        case kOptNoProgress: options.progress = false; break;
        case kOptCodes: options.listCodes = true; break;
        case 'v': options.verbose = true; break;
        case 'h': options.help = true; break;
        case ':': error = "option '" + given + "' needs a value"; return false;
        default: error = "unknown option '" + given + "'"; return false;
        }
    }
    if (options.help || options.listCodes) {
        return true;
    }
    // After a transfer the library reads the server's last reply with the retry time-out as its number of tries
    // and gives up on a silent server only when that number reaches the retry count: outside this range a
    // refused download (a missing file) would wait forever.
    if (options.retryTimes < 1 || options.retryTimes > options.retryTimeOut) {
        error = "--retries (" + std::to_string(options.retryTimes) +
                ") must lie between 1 and the --retry-timeout value (" + std::to_string(options.retryTimeOut) +
                "): otherwise the library never stops waiting for a silent server after a refused transfer";
        return false;
    }
    if (optind >= argc) {
        error = "HOST and COMMAND missing";
        return false;
    }
    options.host = argv[optind++];
    if (options.host.empty()) {
        error = "empty HOST";
        return false;
    }
    if (optind >= argc) {
        error = "COMMAND missing";
        return false;
    }
    options.command = argv[optind++];
    for (; optind < argc; ++optind) {
        options.args.push_back(argv[optind]);
    }
    return true;
}

bool ObtainPassword(const Options& options, std::string& password, std::string& error)
{
    if (!options.passwordFile.empty()) {
        std::ifstream file(options.passwordFile);
        if (!file) {
            error = "cannot read password file '" + options.passwordFile + "': " + std::strerror(errno);
            return false;
        }
        std::getline(file, password); // an empty file gives an empty password
        if (!password.empty() && password.back() == '\r') {
            password.pop_back();
        }
        return true;
    }
    if (const char* fromEnvironment = std::getenv("PLXFTP_PASSWORD")) {
        password = fromEnvironment;
        return true;
    }
    if (options.user == "anonymous" || options.user == "ftp") {
        password = "anonymous@";
        return true;
    }
    if (isatty(STDIN_FILENO)) {
        if (!AskPassword("Password for " + options.user + "@" + options.host + ": ", password)) {
            error = "no password read from the terminal";
            return false;
        }
        return true;
    }
    WriteDiagnostic("plxftp: warning: no password (no --password-file, PLXFTP_PASSWORD unset, stdin not a "
                    "terminal); trying an empty one");
    password.clear();
    return true;
}

} // namespace plxftp
