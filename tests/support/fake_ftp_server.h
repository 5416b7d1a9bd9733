// A scripted FTP server on 127.0.0.1 for protocol tests. It records every byte the client sends (and every line,
// CR LF included) and answers each command from a script: a per-test override (once or several times), else a
// default reply per verb. Replies can be split into several sends with pauses, withheld (silence) or end with the
// control connection closed. PASV opens a data listener; LIST and RETR send the planned data on it, STOR keeps
// what arrives.
#ifndef PLX_TEST_FAKE_FTP_SERVER_H
#define PLX_TEST_FAKE_FTP_SERVER_H

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace plxtest {

// What the server does in answer to one command (or on connecting): a list of steps run in order.
// A default-constructed Reply does nothing at all, i.e. silence.
class Reply {
public:
    struct Step {
        enum Kind { Send, Pause, CloseControl } kind;
        std::string bytes;
        int ms;
    };

    Reply() = default;
    Reply(const char* bytes) { Then(bytes); }         // NOLINT: a reply is most often just its text
    Reply(const std::string& bytes) { Then(bytes); }  // NOLINT

    static Reply Silence() { return Reply(); }
    static Reply Close() { return Reply().CloseControl(); }
    // The bytes sent as separate pieces, with ms between them.
    static Reply Split(const std::vector<std::string>& pieces, int ms = 50);

    Reply& Then(const std::string& bytes);
    Reply& Pause(int ms);
    Reply& CloseControl();

    const std::vector<Step>& Steps() const { return m_steps; }

private:
    std::vector<Step> m_steps;
};

// How LIST and RETR deliver their data by default.
struct DataPlan {
    std::string content;
    size_t chunk = 0;           // bytes per send; 0 sends everything at once
    int delayMs = 0;            // pause between sends
    bool randomChunks = false;  // chunk sizes drawn from 1..chunk (seeded, repeatable)
    size_t closeAfter = std::string::npos;  // close the data connection after this many bytes
    int silenceMs = 0;          // stay silent this long after the data before closing
    bool completionFirst = false;  // send "226" on the control connection before the data
};

class FakeFtpServer;

// The server side of one control connection, handed to custom handlers.
class Session {
public:
    Session(FakeFtpServer& server, int controlFd) : m_server(server), m_controlFd(controlFd) {}
    ~Session();

    void Send(const std::string& bytes);
    void Play(const Reply& reply);
    void Pause(int ms);
    void CloseControl();
    bool ControlOpen() const { return m_controlFd >= 0; }
    int ControlFd() const { return m_controlFd; }

    // Passive data link.
    unsigned short OpenPassive();  // (re)opens the listener, returns its port
    bool AcceptData(int timeoutMs = 5000);
    void SendData(const DataPlan& plan);
    std::string ReceiveData(int timeoutMs = 10000);
    void CloseData();
    void ResetData();  // closes with an RST instead of a FIN
    void CloseListener();
    unsigned short PassivePort() const { return m_passivePort; }
    // True when a data connection is already waiting to be accepted.
    bool DataPending() const;
    bool HasListener() const { return m_listenFd >= 0; }

private:
    FakeFtpServer& m_server;
    int m_controlFd;
    int m_listenFd = -1;
    int m_dataFd = -1;
    unsigned short m_passivePort = 0;
};

class FakeFtpServer {
public:
    using Handler = std::function<void(Session&, const std::string& argument)>;

    FakeFtpServer();
    ~FakeFtpServer();
    FakeFtpServer(const FakeFtpServer&) = delete;
    FakeFtpServer& operator=(const FakeFtpServer&) = delete;

    unsigned short Port() const { return m_port; }

    void Greeting(const Reply& reply);
    // Answer the next `times` commands of this verb with reply (after earlier overrides of the verb are used up).
    void On(const std::string& verb, const Reply& reply, int times = 1);
    void OnHandle(const std::string& verb, Handler handler, int times = 1);
    // Replace the default answer of a verb for the rest of the test.
    void Always(const std::string& verb, const Reply& reply);
    void AlwaysHandle(const std::string& verb, Handler handler);
    // Data delivered by the default LIST and RETR handlers.
    void SetData(const DataPlan& plan);
    // A file for the default RETR, by the name in the command (delivered with the plan's chunking). Once any file
    // is set, RETR of an unknown name answers "550 Failed to open file.".
    void SetFile(const std::string& name, const std::string& content);

    std::vector<std::string> Lines() const;   // every complete line received, CR LF included
    std::string Bytes() const;                // every byte received
    std::vector<std::string> Uploads() const;  // data received by STOR, in order
    int Connections() const { return m_connections; }
    int DataConnections() const { return m_dataConnections; }
    // Every local port the server has listened on (control and passive); sockets on them are the server's own.
    std::vector<unsigned short> Ports() const;
    // Waits until the server has received at least count lines (or timeoutMs passed).
    bool WaitForLines(size_t count, int timeoutMs = 2000) const;

    // Used by Session.
    bool Stopping() const { return m_stop; }
    void SleepMs(int ms) const;
    void CountDataConnection() { ++m_dataConnections; }
    void AddUpload(const std::string& bytes);
    void AddPort(unsigned short port);
    DataPlan Plan() const;
    // The plan for RETR of this name: false when files are set and this one is not among them.
    bool PlanFor(const std::string& name, DataPlan& plan) const;

private:
    struct Entry {
        Handler handler;
        int times;
    };

    void Run();
    void Serve(int controlFd);
    void Dispatch(Session& session, const std::string& line);
    Handler Lookup(const std::string& verb);
    static Handler ReplyHandler(const Reply& reply);

    int m_listenFd = -1;
    unsigned short m_port = 0;
    std::thread m_thread;
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_connections{0};
    std::atomic<int> m_dataConnections{0};

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    Reply m_greeting{"220 Fake FTP server ready\r\n"};
    std::map<std::string, std::deque<Entry>> m_overrides;
    std::map<std::string, Handler> m_always;
    std::map<std::string, Handler> m_defaults;
    DataPlan m_plan;
    std::string m_bytes;
    std::vector<std::string> m_lines;
    std::vector<std::string> m_uploads;
    std::vector<unsigned short> m_ports;
    std::map<std::string, std::string> m_files;
};

// A loopback port with nothing listening on it (bound once, then released).
unsigned short ClosedPort();

// The passive reply a server sends for a data listener on 127.0.0.1 at port.
std::string PassiveReply(unsigned short port);

// A loopback listener whose accept queue is full: a connection attempt to Port() hangs until it times out.
class StalledListener {
public:
    StalledListener();
    ~StalledListener();
    StalledListener(const StalledListener&) = delete;
    StalledListener& operator=(const StalledListener&) = delete;
    unsigned short Port() const { return m_port; }

private:
    int m_fd = -1;
    unsigned short m_port = 0;
    std::vector<int> m_fillers;
};

// Descriptors a transfer could leak: sockets that do not belong to the server, and files under /tmp/plx_test_*.
int ClientDescriptors(const FakeFtpServer& server);

} // namespace plxtest

#endif // PLX_TEST_FAKE_FTP_SERVER_H
