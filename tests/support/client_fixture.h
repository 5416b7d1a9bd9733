// A client object (the exported class, linked from the library's objects) against the fake server.
#ifndef PLX_TEST_CLIENT_FIXTURE_H
#define PLX_TEST_CLIENT_FIXTURE_H

#include <gtest/gtest.h>

#include <dirent.h>

#include <memory>
#include <string>
#include <vector>

#include "fake_ftp_server.h"
#include "log_capture.h"
#include "platform_overrides.h"
#include "plxftpclient.h"

namespace plxtest {

using Transcript = std::vector<std::string>;

// Number of descriptors the test process holds open.
inline int OpenDescriptors()
{
    int count = 0;
    if (DIR* dir = opendir("/proc/self/fd")) {
        while (readdir(dir) != nullptr) {
            ++count;
        }
        closedir(dir);
    }
    return count - 3;  // ".", ".." and the descriptor of the listing itself
}

class ClientTest : public testing::Test {
protected:
    ClientTest() : client(new PLX_FTP_CLIENT::CFtpClient("127.0.0.1", server.Port(), "user", "secret")) {}

    void TearDown() override
    {
        if (client) {
            client->Close();
        }
    }

    // Logs in with the given settings (root "/home/u" from the default PWD reply) and forgets the transcript so
    // far, so that tests compare only what their operation sent.
    void LoginFresh(unsigned short timeOut = 5, unsigned short retryTimes = 2, unsigned short retryTimeOut = 2)
    {
        client->setParam(timeOut, retryTimes, retryTimeOut);
        ASSERT_EQ(PLX_FTP_CLIENT::FTP_OK, client->Login());
        m_skip = server.Lines().size();
        logs.Clear();
    }

    // Lines received since LoginFresh.
    Transcript Sent() const
    {
        Transcript all = server.Lines();
        return Transcript(all.begin() + static_cast<long>(std::min(m_skip, all.size())), all.end());
    }

    ScopedFaults faults;
    LogCapture logs;
    FakeFtpServer server;
    std::unique_ptr<PLX_FTP_CLIENT::CFtpClient> client;

private:
    size_t m_skip = 0;
};

} // namespace plxtest

#endif // PLX_TEST_CLIENT_FIXTURE_H
