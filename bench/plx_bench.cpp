// Benchmark driver for the library's side of scripts/bench. Each run prints one line "seconds=<s> [waits=<n>]".
//
//   plx_bench get   PORT USER PASS REMOTE LOCAL          GetOneFile
//   plx_bench put   PORT USER PASS LOCAL REMOTE          PutOneFileToFile
//   plx_bench mget  PORT USER PASS REMOTEDIR COUNT LOCALDIR   GetFile of REMOTEDIR/f000.bin ...
//   plx_bench mput  PORT USER PASS LOCALDIR COUNT REMOTEDIR   PutFile of LOCALDIR/f000.bin ...
//   plx_bench list  PORT USER PASS REMOTEDIR             ListFile (prints the number of records too)
//   plx_bench ceiling FILE LOCAL                         the design's receive loop without FTP: a sender thread
//                                                        writes FILE into a loopback TCP socket; the loop does one
//                                                        ACE::recv of 1024 bytes with a 5-second time-out and one
//                                                        fwrite per block
//
// The server is on 127.0.0.1. Settings are setParam(1, 1, 1): a completion reply that came together with the
// preliminary one is waited for about 2 seconds; such waits are counted from the blank-reply log lines.
#include <ace/ACE.h>
#include <ace/INET_Addr.h>
#include <ace/SOCK_Acceptor.h>
#include <ace/SOCK_Connector.h>
#include <ace/SOCK_Stream.h>
#include <ace/Time_Value.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "LogProcess.h"
#include "plxftpclient.h"

using namespace PLX_FTP_CLIENT;

namespace {

int g_waits = 0;

double Now()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::string Name(const std::string& dir, int index)
{
    char name[32];
    std::snprintf(name, sizeof(name), "f%03d.bin", index);
    return dir + "/" + name;
}

int Fail(const char* what, unsigned int code)
{
    std::fprintf(stderr, "%s failed: 0x%08X %s\n", what, code, FtpResultName(code));
    return 1;
}

int Ceiling(const std::string& source, const std::string& local)
{
    ACE_SOCK_Acceptor acceptor;
    ACE_INET_Addr any(static_cast<u_short>(0), "127.0.0.1");
    if (acceptor.open(any, 1) == -1) {
        return 1;
    }
    ACE_INET_Addr bound;
    acceptor.get_local_addr(bound);
    std::thread sender([&source, &bound] {
        ACE_SOCK_Stream out;
        ACE_SOCK_Connector connector;
        ACE_INET_Addr target(bound.get_port_number(), "127.0.0.1");
        if (connector.connect(out, target) == -1) {
            return;
        }
        int fd = open(source.c_str(), O_RDONLY);
        struct stat info {};
        fstat(fd, &info);
        off_t offset = 0;
        while (offset < info.st_size && sendfile(out.get_handle(), fd, &offset, info.st_size - offset) > 0) {
        }
        close(fd);
        out.close();
    });
    ACE_SOCK_Stream in;
    acceptor.accept(in);
    double start = Now();
    FILE* file = std::fopen(local.c_str(), "wb");
    char buffer[1025];
    ACE_Time_Value timeout(5, 0);
    for (;;) {
        ssize_t got = ACE::recv(in.get_handle(), buffer, 1024, &timeout);
        if (got <= 0) {
            break;
        }
        std::fwrite(buffer, 1, static_cast<size_t>(got), file);
    }
    std::fflush(file);
    std::fclose(file);
    double seconds = Now() - start;
    sender.join();
    in.close();
    acceptor.close();
    std::printf("seconds=%.6f\n", seconds);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.size() == 3 && args[0] == "ceiling") {
        return Ceiling(args[1], args[2]);
    }
    if (args.size() < 5) {
        std::fprintf(stderr, "usage: see the comment at the top of bench/plx_bench.cpp\n");
        return 2;
    }
    LogProcess::SetSink([](LogLevel level, unsigned int code, const std::string&, const LocationInfo&) {
        if (level == LogLevel::Error && code == FTP_ERR_BLANK_REPLY) {
            ++g_waits;
        }
    });
    const std::string& mode = args[0];
    CFtpClient client("127.0.0.1", static_cast<unsigned short>(std::stoi(args[1])), args[2], args[3]);
    client.setParam(1, 1, 1);
    unsigned int result = client.Login();
    if (result != FTP_OK) {
        return Fail("Login", result);
    }
    double start = Now();
    size_t records = 0;
    if (mode == "get" && args.size() == 6) {
        result = client.GetOneFile(args[4], args[5], false);
    } else if (mode == "put" && args.size() == 6) {
        result = client.PutOneFileToFile(args[4], args[5]);
    } else if ((mode == "mget" || mode == "mput") && args.size() == 7) {
        std::vector<Ftp_File_Pair> batch;
        for (int i = 0; i < std::stoi(args[5]); ++i) {
            batch.push_back({Name(args[4], i), Name(args[6], i)});
        }
        result = mode == "mget" ? client.GetFile(batch, false) : client.PutFile(batch);
    } else if (mode == "list" && args.size() == 5) {
        std::vector<TkFileInfo*> files;
        result = client.ListFile(args[4], files);
        records = files.size();
        for (TkFileInfo* file : files) {
            delete file;
        }
    } else {
        std::fprintf(stderr, "unknown command\n");
        return 2;
    }
    double seconds = Now() - start;
    client.Close();
    LogProcess::SetSink(nullptr);
    if (result != FTP_OK) {
        return Fail(mode.c_str(), result);
    }
    std::printf("seconds=%.6f waits=%d records=%zu\n", seconds, g_waits, records);
    return 0;
}
