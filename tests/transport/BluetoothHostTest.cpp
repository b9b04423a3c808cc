// A host program over Bluetooth, on real threads and in real time: it serves, and it ends cleanly whatever the engine's
// thread is doing when the owner stops it.
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

#include "agent/engine/ErrorRecord.h"
#include "programs/host/BluetoothHostConnection.h"
#include "programs/host/HostProgram.h"
#include "tests/support/RadioDesktop.h"
#include "tests/support/TestPhone.h"

namespace test {
namespace {

constexpr std::size_t kReplySize = 20;

class BluetoothHost : public testing::Test {
 protected:
  void SetUp() override { phone->SetThreads(handset::Threads::kReal); }

  void Start() {
    auto* connection = new CBluetoothHostConnection;
    ASSERT_TRUE(connection->Construct());
    ASSERT_TRUE(host.Start(connection));
  }
  void Converse(RadioDesktop& desktop, std::uint16_t number) {
    desktop.Say(Frame(1, 247, number));
    EXPECT_EQ(ToHex(desktop.Hear(kReplySize)), ToHex(ResultFrame(1, 248, number, 0)));
  }
  void ExpectCleanEnd() {
    host.Stop();
    EXPECT_TRUE(phone.Boxes().empty());
    EXPECT_TRUE(phone->Describe()["bluetooth"]["records"].empty());
  }

  TestPhone phone{nlohmann::json::object(), TestPhone::Time::kReal};
  CHostProgram host;
};

TEST_F(BluetoothHost, serves_one_desktop_after_the_other) {
  Start();
  for (std::uint16_t number = 1; number <= 3; ++number) {
    RadioDesktop desktop;
    ASSERT_TRUE(desktop.Connect(phone.Folder(), 1));
    Converse(desktop, number);
  }
  ExpectCleanEnd();
}

TEST_F(BluetoothHost, stops_while_it_waits_for_a_desktop_and_while_one_is_silent) {
  for (const bool connected : {false, true, false, true}) {
    Start();
    RadioDesktop desktop;
    if (connected) {
      ASSERT_TRUE(desktop.Connect(phone.Folder(), 1));
      Converse(desktop, 9);
    }
    ExpectCleanEnd();
  }
}

// Stop comes at any moment of a session that goes on.
TEST_F(BluetoothHost, stops_while_a_desktop_talks) {
  for (int round = 0; round < 4; ++round) {
    Start();
    RadioDesktop desktop;
    ASSERT_TRUE(desktop.Connect(phone.Folder(), 1));
    std::thread talker([&] {
      const Bytes request = Frame(1, 247, 1);
      try {
        do desktop.Say(request);
        while (desktop.Hear(kReplySize).size() == kReplySize);
      } catch (const std::runtime_error&) {
        // The phone is gone.
      }
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(30 + 7 * round));
    ExpectCleanEnd();
    talker.join();
  }
}

// A reply that a desktop does not take keeps the engine's thread in a send.
TEST_F(BluetoothHost, stops_while_a_desktop_does_not_read) {
  Start();
  RadioDesktop desktop;
  ASSERT_TRUE(desktop.Connect(phone.Folder(), 1));
  Converse(desktop, 1);
  std::atomic<int> said{0};
  std::thread talker([&] {
    try {
      for (;; ++said) desktop.Say(Frame(1, 247, 1));
    } catch (const std::runtime_error&) {
      // The phone is gone.
    }
  });
  for (int before = -1; before != said;) {
    before = said;
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  ExpectCleanEnd();
  talker.join();
}

// A desktop may leave between the moment it is seen and the moment it is accepted.
TEST_F(BluetoothHost, stop_ends_an_accept_that_waits) {
  CBluetoothHostConnection connection;
  ASSERT_TRUE(connection.Construct());
  std::thread owner([&] {
    const handset::CurrentPhone current(*phone);
    EXPECT_TRUE(connection.Stop());
  });
  EXPECT_EQ(connection.AcceptConnection(), 10004);
  owner.join();
  EXPECT_EQ(LastApiError(), nullptr);
}

}  // namespace
}  // namespace test
