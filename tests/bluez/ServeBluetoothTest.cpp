// brelix-phone serve --listen bluetooth as people run it: what it says when something is missing, and whole sessions
// over a radio that is all script.
#include "tests/bluez/MockBluez.h"
#include "tests/bluez/PrivateBus.h"
#include "tests/e2e/ServedPhone.h"

namespace test {
namespace {

// One line that has all of the words.
void ExpectRefused(const Outcome& outcome, const std::vector<std::string>& words) {
  EXPECT_EQ(outcome.code, 1) << outcome.err;
  EXPECT_TRUE(outcome.out.empty()) << outcome.out;
  EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  for (const std::string& word : words) EXPECT_NE(outcome.err.find(word), std::string::npos) << outcome.err;
}

Outcome ServeBluetooth(const PhoneFolder& phone) {
  return BrelixPhone({"serve", phone.Path(), "--listen", "bluetooth"});
}

TEST(ServeBluetooth, says_what_is_missing) {
  const PhoneFolder phone(nlohmann::json::object());
  PrivateBus bus;
  ExpectRefused(ServeBluetooth(phone), {"BlueZ is not running", "org.bluez", "systemctl start bluetooth"});
  {
    const MockBluez none(std::vector<MockAdapter>{});
    ExpectRefused(ServeBluetooth(phone), {"no Bluetooth adapter", "bluetoothctl list", "rfkill list"});
  }
  bus.Stop();
  ExpectRefused(ServeBluetooth(phone), {"the system bus cannot be reached", "systemctl start dbus"});
}

TEST(ServeBluetooth, says_that_the_bus_refuses) {
  const PhoneFolder phone(nlohmann::json::object());
  PrivateBus bus("<deny send_destination='org.bluez'/>");
  const MockBluez bluez;
  ExpectRefused(ServeBluetooth(phone), {"D-Bus refuses telling its adapters", "group bluetooth"});
}

TEST(ServeBluetooth, options_that_do_not_go_together_are_refused) {
  const PhoneFolder phone(nlohmann::json::object());
  const Outcome outcome = BrelixPhone({"serve", phone.Path(), "--insecure"});
  EXPECT_EQ(outcome.code, 2);
  EXPECT_NE(outcome.err.find("--insecure is for --listen bluetooth"), std::string::npos) << outcome.err;
  EXPECT_EQ(BrelixPhone({"serve", phone.Path(), "--listen", "bluetooth:hci0"}).code, 2);
}

// Session after session, whoever comes in between; what was published and changed is taken back.
TEST(ServeBluetooth, serves_over_the_phones_radio) {
  const nlohmann::json description = {{"bluetooth", {{"takenChannels", {1}}}}};
  const PhoneFolder phone(description);
  Server server(phone, "bluetooth:scripted");
  const std::string path = phone.Path() + "/bluetooth/channel-2";
  ASSERT_EQ(server.Address(), "unix:" + path);
  const Outcome info = Brelix({"-d", server.Address(), "info"});
  EXPECT_EQ(info.code, 0) << info.err;
  for (int session = 0; session < 2; ++session) {
    RawDesktop(path).Leave();        // says nothing
    RawDesktop(path).Say(Bytes(5));  // leaves in the middle of something
    RawDesktop(path).Handshake();
  }
  nlohmann::json described = nlohmann::json::parse(BrelixPhone({"describe", phone.Path()}).out)["bluetooth"];
  EXPECT_EQ(described["mode"], "discoverable");
  EXPECT_EQ(described["records"].size(), 1u);
  RawDesktop waiting(path);
  EXPECT_EQ(server.End(SIGTERM).code, 0);
  described = nlohmann::json::parse(BrelixPhone({"describe", phone.Path()}).out)["bluetooth"];
  EXPECT_EQ(described["mode"], "connectable");
  EXPECT_FALSE(described.contains("records") && !described["records"].empty()) << described;
}

}  // namespace
}  // namespace test
