// The radio of this system against a BlueZ of the test's own: what it asks for, and what it makes of what goes wrong.
#include <ctime>
#include <gtest/gtest.h>
#include <regex>
#include <thread>

#include "agent/transport/BluetoothConnection.h"
#include "handset/Enter.h"
#include "handset/Errors.h"
#include "handset/radio/BluezRadio.h"
#include "handset/radio/ScriptedRadio.h"
#include "tests/bluez/MockBluez.h"
#include "tests/bluez/PrivateBus.h"
#include "tests/support/Bytes.h"
#include "tests/support/TestPhone.h"

namespace test {
namespace {

using namespace std::chrono_literals;
using handset::BluezRadio;
using handset::Failure;
using Lines = std::vector<std::string>;

constexpr ce::DWORD kOff = 0;
constexpr ce::DWORD kConnectable = 1;
constexpr ce::DWORD kDiscoverable = 2;

// A record with one attribute, ServiceClassIDList: SerialPort.
const Bytes kRecord = FromHex("35 08 09 00 01 35 03 19 11 01");
constexpr const char* kRecordXml =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?><record><attribute id=\"0x0001\"><sequence><uuid "
    "value=\"0x1101\"/></sequence></attribute></record>";

class BluezRadioTest : public testing::Test {
 protected:
  handset::BluezOptions Options() {
    handset::BluezOptions options;
    options.report = [this](const std::string& line) {
      const std::lock_guard lock(m_mutex);
      m_lines.push_back(line);
    };
    options.settle = 20ms;
    options.firstRetry = 50ms;
    options.longestRetry = 200ms;
    return options;
  }

  Lines Reported() {
    const std::lock_guard lock(m_mutex);
    return m_lines;
  }

  // Until a line that has the words was reported; the deadline only says when to give up.
  void WaitForLine(const std::string& words) {
    WaitFor([&] { return CountLines(words) > 0; }, "\"" + words + "\"");
  }
  std::size_t CountLines(const std::string& words) {
    std::size_t count = 0;
    for (const std::string& line : Reported()) count += line.find(words) != std::string::npos ? 1 : 0;
    return count;
  }
  template <typename Condition>
  void WaitFor(Condition condition, const std::string& what) {
    for (const auto end = std::chrono::steady_clock::now() + 20s; !condition();) {
      if (std::chrono::steady_clock::now() > end) {
        FAIL() << "no " << what << "; reported: " << testing::PrintToString(Reported());
      }
      std::this_thread::sleep_for(5ms);
    }
  }

  PrivateBus m_bus;

 private:
  std::mutex m_mutex;
  Lines m_lines;
};

template <typename Operation>
ce::DWORD CodeOf(Operation operation) {
  try {
    operation();
    return 0;
  } catch (const Failure& failure) {
    return failure.code;
  }
}

TEST_F(BluezRadioTest, publishes_a_record_under_a_random_uuid_and_no_channel) {
  MockBluez bluez;
  {
    BluezRadio radio(Options());
    const std::uint32_t first = radio.Publish(kRecord);
    const std::uint32_t second = radio.Publish(kRecord);
    ASSERT_NE(first, 0u);
    ASSERT_NE(first, second);
    const auto asked = bluez.Registrations();
    ASSERT_EQ(asked.size(), 2u);
    EXPECT_EQ(asked[0].options.at("ServiceRecord"), kRecordXml);
    EXPECT_EQ(asked[0].options.at("Role"), "server");
    EXPECT_EQ(asked[0].optionCount, 2u);
    const std::regex version4("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    EXPECT_TRUE(std::regex_match(asked[0].uuid, version4)) << asked[0].uuid;
    EXPECT_NE(asked[0].uuid, asked[1].uuid);
    EXPECT_NE(asked[0].path, asked[1].path);
    radio.Withdraw(first);
    EXPECT_EQ(bluez.Unregistrations(), Lines{asked[0].path});
    EXPECT_EQ(CodeOf([&] { radio.Withdraw(first); }), 10108u);
  }
  EXPECT_EQ(bluez.Unregistrations().size(), 2u);  // what was left over is withdrawn at the end
  EXPECT_TRUE(Reported().empty());
}

TEST_F(BluezRadioTest, a_record_that_bluez_would_swallow_is_refused) {
  MockBluez bluez;
  BluezRadio radio(Options());
  EXPECT_EQ(CodeOf([&] { radio.Publish(FromHex("35 09 09 00 01 35 03 19 11 01")); }), 10022u);
  WaitForLine("the service record is wrong at byte 0");
  EXPECT_TRUE(bluez.Registrations().empty());
}

// The agent's connection with this radio, but for the sockets, which this kernel may not have.
class RadioWithoutSockets final : public handset::Radio {
 public:
  RadioWithoutSockets(handset::BluezOptions options, handset::Phone& phone)
      : m_bluez(std::move(options)), m_scripted(phone) {}
  std::uint32_t GetMode() override { return m_bluez.GetMode(); }
  void SetMode(std::uint32_t mode) override { m_bluez.SetMode(mode); }
  handset::UniqueFd MakeSocket() override { return m_scripted.MakeSocket(); }
  std::unique_ptr<handset::HeldChannel> Bind(int socket, std::uint64_t adapter, std::uint32_t channel) override {
    return m_scripted.Bind(socket, adapter, channel);
  }
  std::uint32_t Publish(std::span<const std::uint8_t> record) override { return m_bluez.Publish(record); }
  void Withdraw(std::uint32_t handle) override { m_bluez.Withdraw(handle); }

 private:
  BluezRadio m_bluez;
  handset::ScriptedRadio m_scripted;
};

TEST_F(BluezRadioTest, the_agents_connection_is_advertised_and_everything_is_as_it_was_afterwards) {
  MockBluez bluez;
  const nlohmann::json description = {{"bluetooth", {{"takenChannels", {1, 2}}}}};
  BarePhone phone(description);
  phone->UseRadio(std::make_unique<RadioWithoutSockets>(Options(), phone->GetPhone()));
  {
    CBluetoothConnection connection;
    ASSERT_TRUE(connection.Construct());
    EXPECT_EQ(bluez.TakeSettings(), (Lines{"hci0 Powered=1", "hci0 DiscoverableTimeout=0", "hci0 Discoverable=1"}));
    ASSERT_EQ(bluez.Registrations().size(), 1u);
    EXPECT_EQ(bluez.Registrations()[0].options.at("ServiceRecord"),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?><record>"
              "<attribute id=\"0x0001\"><sequence><uuid value=\"0x1101\"/></sequence></attribute>"
              "<attribute id=\"0x0002\"><uint32 value=\"0x00000002\"/></attribute>"
              "<attribute id=\"0x0004\"><sequence><sequence><uuid value=\"0x0100\"/></sequence>"
              "<sequence><uuid value=\"0x0003\"/><uint8 value=\"0x03\"/></sequence></sequence></attribute>"
              "<attribute id=\"0x0005\"><sequence><uuid value=\"0x1002\"/></sequence></attribute>"
              "<attribute id=\"0x0006\"><sequence><uint16 value=\"0x656e\"/><uint16 value=\"0x006a\"/>"
              "<uint16 value=\"0x0100\"/></sequence></attribute>"
              "<attribute id=\"0x0008\"><uint8 value=\"0xff\"/></attribute>"
              "<attribute id=\"0x0100\"><text encoding=\"hex\" value=\"4272656c697820535050\"/></attribute>"
              "<attribute id=\"0x0101\"><text encoding=\"hex\" "
              "value=\"53505020666f72204272656c697820746f6f6c73\"/></attribute>"
              "<attribute id=\"0x0102\"><text encoding=\"hex\" value=\"4272656c697820536f667477617265\"/></attribute>"
              "</record>");
  }
  EXPECT_EQ(bluez.TakeSettings(), (Lines{"hci0 Discoverable=0", "hci0 DiscoverableTimeout=180"}));
  EXPECT_EQ(bluez.Unregistrations().size(), 1u);
}

TEST_F(BluezRadioTest, modes_are_the_adapters_and_can_be_taken_back) {
  MockBluez bluez({MockAdapter{.powered = false, .connectable = false}});
  {
    BluezRadio radio(Options());
    EXPECT_EQ(radio.GetMode(), kOff);
    EXPECT_EQ(CodeOf([&] { radio.SetMode(3); }), 87u);
    radio.SetMode(kConnectable);
    EXPECT_EQ(bluez.TakeSettings(), (Lines{"hci0 Powered=1", "hci0 Discoverable=0", "hci0 Connectable=1"}));
    radio.SetMode(kDiscoverable);
    EXPECT_EQ(radio.GetMode(), kDiscoverable);
    bluez.TakeSettings();
    radio.SetMode(kOff);  // as it was
    EXPECT_EQ(bluez.TakeSettings(),
              (Lines{"hci0 Discoverable=0", "hci0 DiscoverableTimeout=180", "hci0 Connectable=0", "hci0 Powered=0"}));
    radio.SetMode(kDiscoverable);
    bluez.TakeSettings();
  }
  // The one who set the mode did not take it back.
  EXPECT_EQ(bluez.TakeSettings().size(), 4u);
}

TEST_F(BluezRadioTest, discoverable_for_a_while_is_not_discoverable) {
  MockBluez bluez({MockAdapter{.discoverable = true, .discoverableTimeout = 180}});
  BluezRadio radio(Options());
  EXPECT_EQ(radio.GetMode(), kConnectable);
  radio.SetMode(kDiscoverable);
  EXPECT_EQ(radio.GetMode(), kDiscoverable);
  bluez.TakeSettings();
  radio.SetMode(kConnectable);
  EXPECT_EQ(bluez.TakeSettings(), (Lines{"hci0 Discoverable=1", "hci0 DiscoverableTimeout=180"}));
}

TEST_F(BluezRadioTest, an_adapter_that_refuses_a_mode_is_told) {
  MockBluez bluez({MockAdapter{.powered = false}});
  BluezRadio radio(Options());
  bluez.RefuseSetting("Powered", "org.bluez.Error.Failed");
  EXPECT_EQ(CodeOf([&] { radio.SetMode(kDiscoverable); }), 1062u);
  WaitForLine("hci0 (00:AA:01:00:00:42): because the test says so");
  EXPECT_EQ(Reported().size(), 1u);
}

TEST_F(BluezRadioTest, a_restarted_bluez_gets_record_and_mode_again) {
  std::optional<MockBluez> bluez(std::in_place);
  BluezRadio radio(Options());
  radio.SetMode(kDiscoverable);
  const std::uint32_t handle = radio.Publish(kRecord);
  bluez.reset();
  WaitForLine("BlueZ stopped");
  EXPECT_EQ(CodeOf([&] { radio.Publish(kRecord); }), 10108u);
  bluez.emplace();
  WaitForLine("the service is published again");
  ASSERT_EQ(bluez->Registrations().size(), 1u);
  EXPECT_EQ(bluez->Registrations()[0].options.at("ServiceRecord"), kRecordXml);
  EXPECT_EQ(bluez->TakeSettings(), (Lines{"hci0 Powered=1", "hci0 DiscoverableTimeout=0", "hci0 Discoverable=1"}));
  radio.Withdraw(handle);
  EXPECT_EQ(bluez->Unregistrations().size(), 1u);
  EXPECT_EQ(CountLines("BlueZ stopped"), 1u);
}

TEST_F(BluezRadioTest, an_adapter_may_go_and_another_one_come) {
  MockBluez bluez;
  BluezRadio radio(Options());
  radio.SetMode(kDiscoverable);
  bluez.TakeSettings();
  bluez.RemoveAdapter("/org/bluez/hci0");
  WaitForLine("the adapter hci0 (00:AA:01:00:00:42) is gone");
  EXPECT_EQ(CodeOf([&] { radio.GetMode(); }), 1062u);
  bluez.AddAdapter({.path = "/org/bluez/hci1", .address = "00:AA:01:01:00:24"});
  WaitForLine("the phone's adapter is hci1 (00:AA:01:01:00:24) now");
  WaitFor([&] { return radio.GetMode() == kDiscoverable; }, "discoverable adapter");
  bluez.TakeSettings();
  radio.SetMode(kConnectable);
  EXPECT_EQ(bluez.TakeSettings(), (Lines{"hci1 Discoverable=0", "hci1 DiscoverableTimeout=180"}));
}

TEST_F(BluezRadioTest, a_uuid_that_somebody_has_is_not_insisted_on) {
  MockBluez bluez;
  BluezRadio radio(Options());
  bluez.RefuseRegistrations("org.bluez.Error.NotPermitted", 1);
  EXPECT_NE(radio.Publish(kRecord), 0u);
  ASSERT_EQ(bluez.Registrations().size(), 2u);
  EXPECT_NE(bluez.Registrations()[0].uuid, bluez.Registrations()[1].uuid);
  EXPECT_TRUE(Reported().empty());
  bluez.RefuseRegistrations("org.bluez.Error.NotPermitted", 1000);
  EXPECT_EQ(CodeOf([&] { radio.Publish(kRecord); }), 10108u);
  EXPECT_EQ(bluez.Registrations().size(), 6u);
  WaitForLine("another program holds the profile's UUID");
}

TEST_F(BluezRadioTest, what_fails_after_a_restart_is_tried_again_ever_more_slowly) {
  std::optional<MockBluez> bluez(std::in_place);
  BluezRadio radio(Options());
  radio.Publish(kRecord);
  bluez.reset();
  WaitForLine("BlueZ stopped");
  const auto start = std::chrono::steady_clock::now();
  bluez.emplace(std::vector{MockAdapter{}}, "org.bluez.Error.Failed", 5);
  WaitForLine("the service is published again");
  EXPECT_GE(std::chrono::steady_clock::now() - start, 750ms);  // 50, 100, 200, 200 and 200 ms between the attempts
  EXPECT_EQ(bluez->Registrations().size(), 6u);
  EXPECT_EQ(CountLines("publishing the service: because the test says so; it is tried again"), 1u);
}

TEST_F(BluezRadioTest, one_question_without_an_answer_is_asked_again_quietly) {
  std::optional<MockBluez> bluez(std::in_place);
  BluezRadio radio(Options());
  radio.Publish(kRecord);
  bluez.reset();
  WaitForLine("BlueZ stopped");
  bluez.emplace(std::vector{MockAdapter{}}, "org.freedesktop.DBus.Error.NoReply", 1);
  WaitForLine("the service is published again");
  EXPECT_EQ(Reported().size(), 2u);
  bluez.reset();
  WaitFor([&] { return CountLines("BlueZ stopped") == 2; }, "second end");
  bluez.emplace(std::vector{MockAdapter{}}, "org.freedesktop.DBus.Error.NoReply", 3);
  WaitForLine("BlueZ does not answer");
}

TEST_F(BluezRadioTest, a_bus_that_went_away_is_waited_for) {
  std::optional<MockBluez> bluez(std::in_place);
  BluezRadio radio(Options());
  const std::uint32_t handle = radio.Publish(kRecord);
  bluez.reset();
  m_bus.Stop();
  WaitForLine("the system bus cannot be reached");
  const std::clock_t before = std::clock();
  std::this_thread::sleep_for(400ms);
  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 5);  // it sleeps in between
  EXPECT_EQ(CountLines("the system bus cannot be reached"), 1u);
  m_bus.Start();
  bluez.emplace();
  WaitForLine("the service is published again");
  radio.Withdraw(handle);
  EXPECT_EQ(bluez->Unregistrations().size(), 1u);
}

}  // namespace
}  // namespace test
