// plxftp: a command-line FTP client over libplxftpclient.
//   plxftp [options] HOST COMMAND [ARGS...]      (plxftp --help for the commands, options and exit status)
// Every run: parse and check the command line, construct the client, setParam, Login, run the command, Close.
#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>

#include <cstdio>
#include <string>

#include "plxftpclient.h"

#include "cli.h"

namespace {

using namespace plxftp;

int UsageError(const std::string& message)
{
    std::fprintf(stderr, "plxftp: %s\nTry 'plxftp --help'.\n", message.c_str());
    return kExitUsage;
}

void PrintCodes()
{
    for (unsigned int code : AllResultCodes()) {
        std::printf("0x%08X  %-24s %s\n", code, PLX_FTP_CLIENT::FtpResultName(code), FtpResultMeaning(code));
    }
}

// The IPv4 address of HOST as text: the library looks for exactly that text in the server's PASV reply.
bool ResolveHost(const std::string& host, std::string& address, std::string& error)
{
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    int status = getaddrinfo(host.c_str(), nullptr, &hints, &found);
    if (status != 0 || found == nullptr) {
        error = "cannot find an IPv4 address for '" + host + "': " + gai_strerror(status);
        return false;
    }
    char text[INET_ADDRSTRLEN] = {};
    const sockaddr_in* ipv4 = reinterpret_cast<const sockaddr_in*>(found->ai_addr);
    inet_ntop(AF_INET, &ipv4->sin_addr, text, sizeof(text));
    freeaddrinfo(found);
    address = text;
    return true;
}

int Run(int argc, char** argv)
{
    Options options;
    std::string error;
    if (!ParseOptions(argc, argv, options, error)) {
        return UsageError(error);
    }
    if (options.help) {
        PrintUsage(stdout);
        return kExitOk;
    }
    if (options.listCodes) {
        PrintCodes();
        return kExitOk;
    }
    if (!CheckCommand(options, error)) {
        return UsageError(error);
    }
    InstallLogSink(options.verbose);

    std::string address;
    if (!ResolveHost(options.host, address, error)) {
        PrintLocalFailure(error);
        return kExitLocal;
    }
    if (address != options.host) {
        Trace(options, "host " + options.host + " is " + address);
    }
    std::string password;
    if (!ObtainPassword(options, password, error)) {
        PrintLocalFailure(error);
        return kExitLocal;
    }

    PLX_FTP_CLIENT::CFtpClient client(address, options.port, options.user, password);
    client.setParam(options.timeOut, options.retryTimes, options.retryTimeOut);
    std::string server = address + ":" + std::to_string(options.port);
    Trace(options, "login to " + server + " as " + options.user);
    unsigned int result = client.Login();
    if (result != PLX_FTP_CLIENT::FTP_OK) {
        PrintFtpFailure("login to " + server + " as " + options.user, result);
        client.Close(); // closes whatever the failed login left open; its result adds nothing
        return kExitFtp;
    }
    int status = RunCommand(client, options);
    std::fflush(stdout);
    result = client.Close();
    Trace(options, std::string("close: ") + PLX_FTP_CLIENT::FtpResultName(result));
    if (result != PLX_FTP_CLIENT::FTP_OK && status != kExitFtp) {
        // The command's own outcome stands: the server had already confirmed it.
        PrintFtpFailure("warning: closing the session", result);
    }
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    int status = Run(argc, argv);
    std::fflush(stdout);
    return status;
}
