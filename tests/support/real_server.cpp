#include "real_server.h"

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#ifndef PLX_TEST_DIR
#error "PLX_TEST_DIR must name the tests folder"
#endif

namespace plxtest {

PyFtpdServer::PyFtpdServer(const std::string& user, const std::string& password)
{
    char folder[] = "/tmp/plx_pyftpd_XXXXXX";
    if (mkdtemp(folder) == nullptr) {
        m_error = "mkdtemp failed";
        return;
    }
    m_home = folder;
    m_log = m_home + ".log";
    int out[2];
    if (pipe(out) != 0) {
        m_error = "pipe failed";
        return;
    }
    m_pid = fork();
    if (m_pid == 0) {
        dup2(out[1], STDOUT_FILENO);
        close(out[0]);
        close(out[1]);
        std::string script = std::string(PLX_TEST_DIR) + "/servers/pyftpd_server.py";
        // Debian's own interpreter: it is the one that has pyftpdlib.
        execl("/usr/bin/python3", "python3", script.c_str(), m_home.c_str(), user.c_str(), password.c_str(),
              m_log.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    close(out[1]);
    FILE* stream = fdopen(out[0], "r");
    char line[64] = {};
    if (stream != nullptr && std::fgets(line, sizeof(line), stream) != nullptr) {
        unsigned int port = 0;
        if (std::sscanf(line, "PORT %u", &port) == 1) {
            m_port = static_cast<unsigned short>(port);
        }
    }
    if (stream != nullptr) {
        std::fclose(stream);
    }
    if (m_port == 0) {
        m_error = "pyftpdlib did not start (is python3-pyftpdlib installed for /usr/bin/python3?)";
    }
}

PyFtpdServer::~PyFtpdServer()
{
    if (m_pid > 0) {
        kill(m_pid, SIGTERM);
        waitpid(m_pid, nullptr, 0);
    }
    if (!m_home.empty()) {
        std::string command = "rm -rf '" + m_home + "' '" + m_log + "'";
        if (std::system(command.c_str()) != 0) {
            std::fprintf(stderr, "could not remove %s\n", m_home.c_str());
        }
    }
}

std::vector<std::string> PyFtpdServer::Commands() const
{
    std::vector<std::string> commands;
    std::istringstream lines(ReadFile(m_log));
    std::string line;
    while (std::getline(lines, line)) {
        std::string::size_type arrow = line.find("<- ");
        if (arrow != std::string::npos) {
            commands.push_back(line.substr(arrow + 3));
        }
    }
    return commands;
}

LaunchedServer::LaunchedServer(const std::string& kind, const std::string& user, const std::string& password,
                               bool chroot)
    : m_kind(kind)
{
    char folder[] = "/tmp/plx_server_XXXXXX";
    if (mkdtemp(folder) == nullptr) {
        m_error = "mkdtemp failed";
        return;
    }
    m_work = folder;
    int out[2];
    if (pipe(out) != 0) {
        m_error = "pipe failed";
        return;
    }
    m_launcher = fork();
    if (m_launcher == 0) {
        dup2(out[1], STDOUT_FILENO);
        close(out[0]);
        close(out[1]);
        const std::string tests = PLX_TEST_DIR;
        if (kind == "pyftpdlib") {
            // Debian's own interpreter: it is the one that has pyftpdlib. The script serves m_work/home.
            std::string home = m_work + "/home";
            mkdir(home.c_str(), 0755);
            execl("/usr/bin/python3", "python3", (tests + "/servers/pyftpd_server.py").c_str(), home.c_str(),
                  user.c_str(), password.c_str(), (m_work + "/commands.log").c_str(), static_cast<char*>(nullptr));
        } else {
            std::string script = tests + "/servers/run_" + kind + ".sh";
            execl("/bin/bash", "bash", script.c_str(), PLX_SERVERS_DIR, m_work.c_str(), user.c_str(),
                  password.c_str(), chroot ? static_cast<char*>(nullptr) : "--no-chroot", static_cast<char*>(nullptr));
        }
        _exit(127);
    }
    close(out[1]);
    FILE* stream = fdopen(out[0], "r");
    char line[4096];
    unsigned int port = 0;
    while (stream != nullptr && std::fgets(line, sizeof(line), stream) != nullptr) {
        std::string text(line);
        if (!text.empty() && text.back() == '\n') {
            text.pop_back();
        }
        if (text.compare(0, 5, "PORT ") == 0) {
            port = static_cast<unsigned int>(std::stoul(text.substr(5)));
            if (kind == "pyftpdlib") {
                m_home = m_work + "/home";
                m_server = m_launcher;
                break;
            }
        } else if (text.compare(0, 5, "HOME ") == 0) {
            m_home = text.substr(5);
        } else if (text.compare(0, 4, "PID ") == 0) {
            m_server = static_cast<pid_t>(std::stol(text.substr(4)));
            break;
        }
    }
    if (stream != nullptr) {
        std::fclose(stream);
    }
    if (port == 0 || m_server <= 0 || m_home.empty()) {
        m_error = kind + " did not start (see the launcher's output above; scripts/install-servers installs it)";
        return;
    }
    m_port = static_cast<unsigned short>(port);
}

LaunchedServer::~LaunchedServer()
{
    if (m_server > 0) {
        kill(m_server, SIGTERM);
    }
    if (m_launcher > 0) {
        // The launcher ends once its server has; give it a while to clean up, then insist.
        for (int i = 0; i < 100; ++i) {
            if (waitpid(m_launcher, nullptr, WNOHANG) == m_launcher) {
                m_launcher = -1;
                break;
            }
            usleep(50 * 1000);
        }
        if (m_launcher > 0) {
            kill(m_launcher, SIGKILL);
            waitpid(m_launcher, nullptr, 0);
        }
    }
    if (!m_work.empty()) {
        std::string command = "rm -rf '" + m_work + "'";
        if (std::system(command.c_str()) != 0) {
            std::fprintf(stderr, "could not remove %s\n", m_work.c_str());
        }
    }
}

void WriteFile(const std::string& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

bool Exists(const std::string& path)
{
    struct stat info {};
    return stat(path.c_str(), &info) == 0;
}

} // namespace plxtest
