// Desktops that behave badly, and stopping while they do: the agent serves the next one and ends cleanly.
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
  desktop.Say(Frame(1, 247, 1));
  EXPECT_EQ(desktop.Hear(20).size(), 20u);
  desktop.Say(Frame(1, 1, 2));
  EXPECT_EQ(desktop.Hear(5).size(), 5u);
  for (std::uint16_t number = 3; number < 20; ++number) desktop.Say(Frame(1, 15, number));
  desktop.Leave();
  ExpectServed();
  ExpectCleanEnd(SIGTERM);
}

TEST_F(Robustness, stops_while_a_desktop_is_connected_and_silent) {
  RawDesktop desktop(phone.SocketPath());
  desktop.Say(Frame(1, 247, 1));
  EXPECT_EQ(desktop.Hear(20).size(), 20u);
  ExpectCleanEnd(SIGINT);
  EXPECT_TRUE(desktop.Hear(1).empty()) << "the agent hung up";
}

TEST_F(Robustness, stops_while_a_desktop_takes_no_replies) {
  RawDesktop desktop(phone.SocketPath());
  desktop.Say(Frame(1, 247, 1));
  EXPECT_EQ(desktop.Hear(20).size(), 20u);
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

}  // namespace
}  // namespace test
