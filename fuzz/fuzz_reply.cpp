// Fuzz target: the control connection's reply reader, CFtpCommand::GetRetCode(reply, 1).
//
// Input layout:
//   byte 0          low four bits: k, the number of chunk lengths that follow (upper bits ignored)
//   bytes 1..k      chunk lengths, each byte b meaning b + 1 bytes (1..256)
//   the rest        the bytes the "server" sends (only the first kMaxInput bytes of an input are used)
// The bytes are cut into chunks of the listed lengths in order; what is left over is one last chunk. Every chunk
// reaches the reader as exactly one receive: a chunk longer than one receive (520 bytes) is cut into 520-byte
// pieces, as a stream delivers data that is already waiting. An input shorter than its header sends nothing.
//
// The chunks go into one end of an AF_UNIX SOCK_SEQPACKET socket pair, all of them before the read starts, and
// that end is then closed: the reader sees the peer close after the last chunk and, with SetParam(1, 1, 1) and
// tries = 1, gives up (a receive on a closed peer returns 0 at once). A sequenced-packet socket and not a stream
// socket, because a stream socket glues chunks that are queued together into one receive, and even a writer that
// waits for each chunk to be read cannot stop the kernel from appending the next chunk to a receive that is still
// copying: the split points would not be repeatable. A sequenced-packet socket hands out one chunk per receive.
//
// With PLX_FUZZ_VERBOSE set in the environment the target prints the chunks, the result and the reply text of
// every input it runs (for reproducing one input, not for fuzzing).
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz_common.h"
#include "ftpcommand.h"
#include "plxftpclient.h"

using namespace PLX_FTP_CLIENT;

namespace {

constexpr size_t kMaxInput = 8192;     // at most 15 + 16 chunks, far below the socket's send buffer
constexpr size_t kReceiveSize = 520;   // what the reader asks for in one receive

bool g_verbose = false;

// Reaches the protected control socket.
class Reader : public CFtpCommand {
public:
    void Attach(ACE_HANDLE handle) { m_CmdSock.set_handle(handle); }
};

std::vector<std::string> Chunks(const uint8_t* data, size_t size)
{
    std::vector<std::string> chunks;
    if (size > kMaxInput) {
        size = kMaxInput;
    }
    if (size == 0) {
        return chunks;
    }
    const size_t count = data[0] & 0x0Fu;
    if (size < 1 + count) {
        return chunks;
    }
    const char* payload = reinterpret_cast<const char*>(data + 1 + count);
    size_t left = size - 1 - count;
    for (size_t i = 0; i < count && left > 0; ++i) {  // listed chunks are at most 256 bytes: one receive each
        size_t length = static_cast<size_t>(data[1 + i]) + 1;
        if (length > left) {
            length = left;
        }
        chunks.emplace_back(payload, length);
        payload += length;
        left -= length;
    }
    while (left > 0) {
        const size_t length = left < kReceiveSize ? left : kReceiveSize;
        chunks.emplace_back(payload, length);
        payload += length;
        left -= length;
    }
    return chunks;
}

std::string Escaped(const std::string& bytes)
{
    std::string text;
    for (unsigned char c : bytes) {
        if (c == '\r') {
            text += "\\r";
        } else if (c == '\n') {
            text += "\\n";
        } else if (c == '\\' || c == '"') {
            text += '\\';
            text += static_cast<char>(c);
        } else if (c < 0x20 || c >= 0x7F) {
            char hex[8];
            std::snprintf(hex, sizeof(hex), "\\x%02X", c);
            text += hex;
        } else {
            text += static_cast<char>(c);
        }
    }
    return text;
}

void SendChunk(int fd, const std::string& chunk)
{
    for (;;) {
        const ssize_t sent = send(fd, chunk.data(), chunk.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent == static_cast<ssize_t>(chunk.size())) {
            return;
        }
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        // Never expected: the input is capped so that every chunk fits into the send buffer at once.
        std::perror("fuzz_reply: send");
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    plxfuzz::InstallQuietLog();
    g_verbose = std::getenv("PLX_FUZZ_VERBOSE") != nullptr;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::vector<std::string> chunks = Chunks(data, size);

    int fds[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, fds) != 0) {
        std::perror("fuzz_reply: socketpair");
        std::abort();
    }
    const int buffer = 1 << 20;
    setsockopt(fds[1], SOL_SOCKET, SO_SNDBUF, &buffer, sizeof(buffer));
    setsockopt(fds[0], SOL_SOCKET, SO_RCVBUF, &buffer, sizeof(buffer));
    for (const std::string& chunk : chunks) {
        SendChunk(fds[1], chunk);
    }
    close(fds[1]);  // the reader sees the peer close after the last chunk

    Reader reader;
    reader.SetParam(1, 1, 1);
    reader.Attach(fds[0]);
    std::string reply;
    const unsigned int result = reader.GetRetCode(reply, 1);
    reader.CloseCmdSock();  // closes fds[0]

    if (g_verbose) {
        for (const std::string& chunk : chunks) {
            std::fprintf(stderr, "chunk of %zu bytes: \"%s\"\n", chunk.size(), Escaped(chunk).c_str());
        }
        std::fprintf(stderr, "result %s, reply \"%s\"\n", FtpResultName(result), Escaped(reply).c_str());
    }
    PLX_FUZZ_CHECK(std::string(FtpResultName(result)) != "UNKNOWN");
    return 0;
}
