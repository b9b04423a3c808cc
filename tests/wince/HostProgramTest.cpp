// The host program, here as on a phone built on nothing but what the agent's library exports.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/User.h"
#include "programs/host/HostConnection.h"
#include "programs/host/HostProgram.h"
#include "programs/phone/ListeningConnection.h"
#include "tests/support/Bytes.h"
#include "tests/support/TestPhone.h"

namespace test {
namespace {

class HostProgram : public testing::Test {
 protected:
  // A listening socket, and a desktop that is connected to it.
  CConnectionManager* Connection() {
    const int listening = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    socklen_t size = sizeof(sa_family_t);  // the system picks a name
    EXPECT_EQ(bind(listening, reinterpret_cast<sockaddr*>(&name), size), 0);
    EXPECT_EQ(listen(listening, 1), 0);
    size = sizeof name;
    getsockname(listening, reinterpret_cast<sockaddr*>(&name), &size);
    desktop = socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(connect(desktop, reinterpret_cast<sockaddr*>(&name), size), 0);
    auto* connection = new brelix_phone::CListeningConnection(phone->AdoptSocket(listening));
    EXPECT_TRUE(connection->Construct());
    return connection;
  }
  ~HostProgram() override {
    if (desktop >= 0) close(desktop);
  }

  TestPhone phone;
  int desktop = -1;
};

TEST_F(HostProgram, serves_until_it_is_stopped) {
  phone->SetThreads(handset::Threads::kReal);
  CHostProgram host;
  ASSERT_TRUE(host.Start(Connection()));
  const Bytes request = Frame(1, 247, 0x0101);
  ASSERT_EQ(write(desktop, request.data(), request.size()), static_cast<ssize_t>(request.size()));
  Bytes reply(ResultFrame(1, 248, 0x0101, 0).size());
  ASSERT_EQ(recv(desktop, reply.data(), reply.size(), MSG_WAITALL), static_cast<ssize_t>(reply.size()));
  EXPECT_EQ(ToHex(reply), ToHex(ResultFrame(1, 248, 0x0101, 0)));
  host.Stop();
  EXPECT_TRUE(phone.Boxes().empty());
}

TEST_F(HostProgram, ends_when_the_box_that_says_it_runs_is_closed) {
  phone->SetThreads(handset::Threads::kReal);
  EXPECT_EQ(RunHost(Connection()), 0);
  EXPECT_EQ(phone.Boxes(),
            std::vector<std::u16string>{u"BrelixEngine|The agent is running.\n\nClose this box to end it."});
}

TEST_F(HostProgram, shows_what_kept_it_from_starting) {
  phone->GetFaults().Add({.call = "bind", .result = 10048});
  EXPECT_EQ(RunHost(NewHostConnection()), 1);
  phone->GetFaults().Add({.call = "IPOutlookApp::Logon", .result = 0x80004005});
  EXPECT_EQ(RunHost(Connection()), 1);
  EXPECT_EQ(phone.Boxes(), (std::vector<std::u16string>{u"CBluetoothConnection::Construct()|bind(): 00002740",
                                                        u"CAgentEngine::Construct()|IPOutlookApp->Logon(): 80004005"}));
  EXPECT_EQ(RunHost(nullptr), 1);
}

}  // namespace
}  // namespace test
