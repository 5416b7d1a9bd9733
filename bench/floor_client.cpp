// The protocol floor for batches of small files: a minimal FTP client on plain sockets that sends exactly what the
// library sends per file (CWD, PASV, data connect, RETR or STOR, data, completion reply), with TYPE I once per batch,
// but reads replies through a buffer that keeps whatever follows a final line, so it never waits for a reply that has
// already arrived.
//
//   floor_client get PORT USER PASS REMOTEDIR COUNT LOCALDIR
//   floor_client put PORT USER PASS LOCALDIR COUNT REMOTEDIR
// prints "seconds=<s>" for the batch (login excluded).
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

class Control {
public:
    explicit Control(unsigned short port) : m_fd(Connect(port)) {}
    ~Control() { ::close(m_fd); }

    static int Connect(unsigned short port)
    {
        int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_port = htons(port);
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) != 0) {
            std::perror("connect");
            std::exit(1);
        }
        return fd;
    }

    void Send(const std::string& line)
    {
        std::string text = line + "\r\n";
        if (::send(m_fd, text.data(), text.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(text.size())) {
            std::exit(1);
        }
    }

    // One whole reply (continuation lines included); returns it, with the final line last.
    std::string Reply()
    {
        std::string reply;
        for (;;) {
            std::string line = Line();
            reply += line;
            if (line.size() > 3 && line[3] == ' ') {
                return reply;
            }
        }
    }

private:
    std::string Line()
    {
        for (;;) {
            std::string::size_type feed = m_buffer.find('\n');
            if (feed != std::string::npos) {
                std::string line = m_buffer.substr(0, feed + 1);
                m_buffer.erase(0, feed + 1);
                return line;
            }
            char chunk[4096];
            ssize_t got = ::recv(m_fd, chunk, sizeof(chunk), 0);
            if (got <= 0) {
                std::fprintf(stderr, "control connection closed\n");
                std::exit(1);
            }
            m_buffer.append(chunk, static_cast<size_t>(got));
        }
    }

    int m_fd;
    std::string m_buffer;
};

unsigned short PassivePort(const std::string& reply)
{
    std::string::size_type open = reply.find('(');
    unsigned int h[4];
    unsigned int p1 = 0;
    unsigned int p2 = 0;
    if (open == std::string::npos ||
        std::sscanf(reply.c_str() + open, "(%u,%u,%u,%u,%u,%u)", &h[0], &h[1], &h[2], &h[3], &p1, &p2) != 6) {
        std::fprintf(stderr, "bad PASV reply: %s", reply.c_str());
        std::exit(1);
    }
    return static_cast<unsigned short>(p1 * 256 + p2);
}

std::string Name(int index)
{
    char name[32];
    std::snprintf(name, sizeof(name), "f%03d.bin", index);
    return name;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 8) {
        std::fprintf(stderr, "usage: floor_client get|put PORT USER PASS FROMDIR COUNT TODIR\n");
        return 2;
    }
    const bool get = std::strcmp(argv[1], "get") == 0;
    Control control(static_cast<unsigned short>(std::atoi(argv[2])));
    control.Reply();
    control.Send(std::string("USER ") + argv[3]);
    control.Reply();
    control.Send(std::string("PASS ") + argv[4]);
    control.Reply();
    control.Send("PWD");
    std::string pwd = control.Reply();
    std::string root = pwd.substr(pwd.find('"') + 1);
    root = root.substr(0, root.find('"'));
    if (root == "/") {
        root.clear();
    }
    const std::string from = argv[5];
    const std::string to = argv[7];
    const int count = std::atoi(argv[6]);

    auto start = std::chrono::steady_clock::now();
    control.Send("TYPE I");
    control.Reply();
    char block[1024];
    for (int i = 0; i < count; ++i) {
        const std::string remoteDir = root + "/" + (get ? from : to);
        control.Send("CWD " + remoteDir);
        control.Reply();
        control.Send("PASV");
        int data = Control::Connect(PassivePort(control.Reply()));
        control.Send((get ? "RETR " : "STOR ") + Name(i));
        std::string preliminary = control.Reply();
        if (preliminary[0] != '1') {
            std::fprintf(stderr, "refused: %s", preliminary.c_str());
            return 1;
        }
        if (get) {
            FILE* out = std::fopen((to + "/" + Name(i)).c_str(), "wb");
            ssize_t got;
            while ((got = ::recv(data, block, sizeof(block), 0)) > 0) {
                std::fwrite(block, 1, static_cast<size_t>(got), out);
            }
            std::fclose(out);
        } else {
            FILE* in = std::fopen((from + "/" + Name(i)).c_str(), "rb");
            size_t got;
            while ((got = std::fread(block, 1, sizeof(block), in)) > 0) {
                ::send(data, block, got, MSG_NOSIGNAL);
            }
            std::fclose(in);
        }
        ::close(data);
        control.Reply();  // the completion reply, from the buffer when it came with the preliminary one
    }
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    control.Send("QUIT");
    std::printf("seconds=%.6f\n", seconds);
    return 0;
}
