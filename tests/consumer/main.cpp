// Uses the installed library as a host would: the client API and a log sink of its own.
#include <plxftpclient.h>
#include <LogProcess.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: consumer PORT-WITH-NO-SERVER\n");
        return 2;
    }
    int connectLines = 0;
    LogProcess::SetSink([&](LogLevel level, unsigned int code, const std::string&, const LocationInfo&) {
        if (level == LogLevel::Error && code == PLX_FTP_CLIENT::FTP_ERR_CONNECT) {
            ++connectLines;
        }
    });
    PLX_FTP_CLIENT::CFtpClient client("127.0.0.1", static_cast<unsigned short>(std::stoi(argv[1])), "u", "p");
    client.setParam(1, 0, 0);
    unsigned int result = client.Login();
    LogProcess::SetSink(nullptr);
    std::printf("Login: 0x%08X %s, %d connect error line(s)\n", result, PLX_FTP_CLIENT::FtpResultName(result),
                connectLines);
    return result == PLX_FTP_CLIENT::FTP_ERR_CONNECT && connectLines == 1 ? 0 : 1;
}
