// Desktops that behave badly, and stopping while they do: the agent serves the next one and ends cleanly.
#include <sys/wait.h>

#include "tests/e2e/ServedPhone.h"

namespace test {
namespace {

const nlohmann::json kPhone = {{"lines", {{{"name", "Cellular Line"}, {"serialNumber", "4711"}}}}};

class Robustness : public testing::Test {
 protected:
  void ExpectServed() {
    const Outcome info = Brelix({"-d", server.Address(), "--json", "info"});
    EXPECT_EQ(info.code, 0) << info.err;
    EXPECT_NE(info.out.find("\"4711\""), std::string::npos) << info.out;
  }
  void ExpectCleanEnd(int signal) {
    const Outcome end = server.End(signal);
    EXPECT_EQ(end.code, 0) << end.err;
    EXPECT_EQ(end.err.find("still held"), std::string::npos) << end.err;
  }

  PhoneFolder phone{kPhone};
  Server server{phone, "unix:" + phone.SocketPath()};
};

TEST_F(Robustness, the_next_desktop_is_served_after_a_bad_one) {
  const Bytes request = Frame(1, 247, 1);
  for (const Bytes& said :
       {Bytes{}, FromText("GET / HTTP/1.0\r\n\r\n"), Bytes(request.begin(), request.begin() + 10), Bytes(100000, 'X'),
        FromText("XXXX") + Bytes(60000, 0x41), Frame(1, 247, 1) + Bytes(30000, 'Z')}) {
    SCOPED_TRACE(said.size());
    RawDesktop desktop(phone.SocketPath());
    desktop.Say(said);
    desktop.Leave();
    ExpectServed();
  }
  ExpectCleanEnd(SIGTERM);
}

TEST_F(Robustness, a_desktop_may_leave_in_the_middle_of_its_replies) {
  RawDesktop desktop(phone.SocketPath());
  desktop.Handshake();
  desktop.Say(Frame(1, 1, 2));
  EXPECT_EQ(desktop.Hear(5).size(), 5u);
  for (std::uint16_t number = 3; number < 20; ++number) desktop.Say(Frame(1, 15, number));
  desktop.Leave();
  ExpectServed();
  ExpectCleanEnd(SIGTERM);
}

TEST_F(Robustness, stops_while_a_desktop_is_connected_and_silent) {
  RawDesktop desktop(phone.SocketPath());
  desktop.Handshake();
  ExpectCleanEnd(SIGINT);
  EXPECT_TRUE(desktop.Hear(1).empty()) << "the agent hung up";
}

TEST_F(Robustness, stops_while_a_desktop_takes_no_replies) {
  RawDesktop desktop(phone.SocketPath());
  desktop.Handshake();
  // Replies of some 400 bytes fill what the link holds, until the agent is stuck in a send.
  std::thread asking([&] {
    try {
      for (std::uint16_t number = 2; number < 4000; ++number) desktop.Say(Frame(1, 15, number) + Bytes(1, 0));
    } catch (const std::exception&) {
    }
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(700));
  ExpectCleanEnd(SIGTERM);
  asking.join();
}

TEST_F(Robustness, stops_while_a_desktop_floods_it) {
  for (int round = 0; round < 5; ++round) {
    PhoneFolder flooded{kPhone};
    Server busy(flooded, "unix:" + flooded.SocketPath());
    RawDesktop desktop(flooded.SocketPath());
    desktop.Handshake();
    std::thread asking([&] {
      try {
        for (std::uint16_t number = 2;; ++number) desktop.Say(Frame(1, 3, number));
      } catch (const std::exception&) {
      }
    });
    std::thread hearing([&] {
      while (!desktop.Hear(20).empty()) {
      }
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50 + 13 * round));
    const Outcome end = busy.End(SIGTERM);
    EXPECT_EQ(end.code, 0) << end.err;
    asking.join();
    hearing.join();
  }
  ExpectCleanEnd(SIGTERM);
}

TEST_F(Robustness, goes_on_when_nobody_reads_its_messages) {
  const PhoneFolder quiet{kPhone};
  int messages[2];
  ASSERT_EQ(pipe(messages), 0);
  const std::string listen = "unix:" + quiet.SocketPath();
  const pid_t process = fork();
  if (process == 0) {
    dup2(messages[1], STDERR_FILENO);
    close(messages[0]);
    execl(BRELIX_PHONE_COMMAND, "brelix-phone", "serve", quiet.Path().c_str(), "--listen", listen.c_str(), nullptr);
    _exit(127);
  }
  close(messages[1]);
  char first = 0;
  EXPECT_EQ(read(messages[0], &first, 1), 1) << "it says how to connect";
  close(messages[0]);
  for (int i = 0; i < 2; ++i) {
    const Outcome info = Brelix({"-d", listen, "info"});
    EXPECT_EQ(info.code, 0) << info.err;
  }
  kill(process, SIGTERM);
  int status = -1;
  ASSERT_EQ(waitpid(process, &status, 0), process);
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace test
