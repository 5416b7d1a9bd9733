// A command object logged in to nothing: connected to the fake server with its greeting read, logs captured.
#ifndef PLX_TEST_COMMAND_FIXTURE_H
#define PLX_TEST_COMMAND_FIXTURE_H

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "fake_ftp_server.h"
#include "ftpcommand.h"
#include "log_capture.h"
#include "platform_overrides.h"
#include "plxftpclient.h"

namespace plxtest {

using Transcript = std::vector<std::string>;

class CommandTest : public testing::Test {
protected:
    void TearDown() override
    {
        cmd.CloseDataSock();
        cmd.CloseCmdSock();
    }

    // Connects with the given settings and forgets the greeting's log lines.
    void Connect(unsigned short timeOut = 5, unsigned short retryTimes = 2, unsigned short retryTimeOut = 2)
    {
        cmd.SetServerInfo("127.0.0.1", server.Port(), "user", "secret");
        cmd.SetParam(timeOut, retryTimes, retryTimeOut);
        ASSERT_EQ(PLX_FTP_CLIENT::FTP_OK, cmd.ConnectServer());
        logs.Clear();
    }

    // Sends a made-up command whose answer the test scripts, so the reader sees exactly those bytes.
    void Ask(const std::string& verb, const Reply& reply)
    {
        server.On(verb, reply);
        std::string line = verb + "\r\n";
        ASSERT_EQ(static_cast<int>(line.size()), cmd.SendCmd(line.c_str(), static_cast<int>(line.size())));
    }

    // The info traces of the reply reader, by retry count.
    std::vector<int> Traces() const
    {
        std::vector<int> counts;
        for (const LogLine& line : logs.Of(LogLevel::Info)) {
            const std::string head = "FTPCLIENT_LOG:GetRetCode msg begin: ****** :end by using ";
            if (line.text.compare(0, head.size(), head) == 0) {
                counts.push_back(std::stoi(line.text.substr(head.size())));
            }
        }
        return counts;
    }

    static double SecondsSince(std::chrono::steady_clock::time_point start)
    {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }

    ScopedFaults faults;
    LogCapture logs;
    FakeFtpServer server;
    PLX_FTP_CLIENT::CFtpCommand cmd;
};

} // namespace plxtest

#endif // PLX_TEST_COMMAND_FIXTURE_H
