// A real FTP server started by a test on a free loopback port, with a user, a password and a writable home in a
// temporary folder; stopped (by its own process id) when the object goes.
#ifndef PLX_TEST_REAL_SERVER_H
#define PLX_TEST_REAL_SERVER_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace plxtest {

class PyFtpdServer {
public:
    PyFtpdServer(const std::string& user, const std::string& password);
    ~PyFtpdServer();
    PyFtpdServer(const PyFtpdServer&) = delete;
    PyFtpdServer& operator=(const PyFtpdServer&) = delete;

    bool Running() const { return m_port != 0; }
    unsigned short Port() const { return m_port; }
    const std::string& Home() const { return m_home; }
    const std::string& Error() const { return m_error; }
    // The command lines the server has received so far, one per line, as "VERB argument".
    std::vector<std::string> Commands() const;

private:
    pid_t m_pid = -1;
    unsigned short m_port = 0;
    std::string m_home;
    std::string m_log;
    std::string m_error;
};

// One of the real servers, started through its launcher (tests/servers/run_<kind>.sh, or pyftpdlib's script) on a
// free loopback port, with USER/PASSWORD and a writable home in a temporary folder. The launcher prints the port,
// the home and the server's own process id; the server is stopped by that id, then the launcher cleans up.
class LaunchedServer {
public:
    // kind: "pyftpdlib", "vsftpd", "proftpd" or "pureftpd". chroot false: the login directory is the home's real path.
    LaunchedServer(const std::string& kind, const std::string& user, const std::string& password, bool chroot = true);
    ~LaunchedServer();
    LaunchedServer(const LaunchedServer&) = delete;
    LaunchedServer& operator=(const LaunchedServer&) = delete;

    bool Running() const { return m_port != 0; }
    unsigned short Port() const { return m_port; }
    const std::string& Home() const { return m_home; }
    const std::string& Kind() const { return m_kind; }
    const std::string& Error() const { return m_error; }

private:
    std::string m_kind;
    std::string m_work;
    std::string m_home;
    std::string m_error;
    unsigned short m_port = 0;
    pid_t m_launcher = -1;
    pid_t m_server = -1;
};

// Writes bytes to a file (creating it); reads a whole file ("" if missing).
void WriteFile(const std::string& path, const std::string& bytes);
std::string ReadFile(const std::string& path);
bool Exists(const std::string& path);

} // namespace plxtest

#endif // PLX_TEST_REAL_SERVER_H
