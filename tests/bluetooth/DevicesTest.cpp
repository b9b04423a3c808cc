// `brelix devices` with BlueZ played by python3-dbusmock, on a message bus of the test's own.
#include <chrono>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <signal.h>
#include <thread>

#include "tests/bluetooth/PlayedBluez.h"

namespace test {
namespace {

Outcome Devices(std::vector<std::string> more = {}) {
  std::vector<std::string> words = {BRELIX_COMMAND, "--timeout", "3", "devices", "--scan", "0.2"};
  words.insert(words.end(), more.begin(), more.end());
  return Run(words);
}

bool Has(const std::string& text, const std::string& part) { return text.find(part) != text.npos; }

// Nothing can be asked: there is no such adapter behind the mock, whatever the computer has.
TEST(Devices, ListsWhatBluezKnowsAndLooksAround) {
  PlayedBluez bluez;
  bluez.AddAdapter("hci0", "desk");
  bluez.AddDevice("hci0", "11:22:33:44:55:66", "Phone of\tAda");
  bluez.AddDevice("hci0", "11:22:33:44:55:77", "");

  const Outcome all = Devices({"--all", "--json"});
  EXPECT_EQ(all.code, 0) << all.err;
  std::vector<nlohmann::json> devices;
  std::istringstream lines(all.out);
  for (std::string line; std::getline(lines, line);) devices.push_back(nlohmann::json::parse(line));
  ASSERT_EQ(devices.size(), 2U);
  EXPECT_EQ(devices[0]["device"], "bluetooth:11:22:33:44:55:66");
  EXPECT_EQ(devices[0]["name"], "Phone of\tAda");
  EXPECT_EQ(devices[0]["adapter"], "hci0");
  EXPECT_EQ(devices[0]["paired"], false);
  EXPECT_EQ(devices[0]["service"], nullptr);
  EXPECT_EQ(devices[0]["channel"], nullptr);
  EXPECT_NE(devices[0]["why"], nullptr);

  const std::string log = bluez.Log();
  const size_t filter = log.find("SetDiscoveryFilter");
  const size_t start = log.find("StartDiscovery");
  EXPECT_LT(filter, start);
  EXPECT_LT(start, log.find("StopDiscovery"));
  EXPECT_NE(log.find("bredr"), log.npos) << log;

  const Outcome found = Devices();
  EXPECT_EQ(found.code, 4);
  EXPECT_TRUE(Has(found.err, "no device offers the service \"Brelix SPP\": 0 without it, 2 that could not be asked"))
      << found.err;
}

TEST(Devices, TellsWhatIsMissing) {
  PlayedBluez bluez;
  const auto expect = [&](const std::string& part, int code, const std::vector<std::string>& more = {}) {
    const Outcome outcome = Devices(more);
    EXPECT_EQ(outcome.code, code) << part;
    EXPECT_EQ(outcome.out, "");
    EXPECT_TRUE(Has(outcome.err, part)) << outcome.err;
  };
  expect("no Bluetooth adapter", 4);
  bluez.AddAdapter("hci0", "desk");
  expect("there is hci0", 2, {"--adapter", "hci3"});
  bluez.Switch("hci0", false);
  expect("bluetoothctl power on", 4);
  bluez.Stop();
  expect("BlueZ is not running", 4);
}

TEST(Devices, EndsAtAnInterrupt) {
  PlayedBluez bluez;
  bluez.AddAdapter("hci0", "desk");
  Process looking({BRELIX_COMMAND, "devices", "--scan", "200"});
  for (int i = 0; i < 500 && !Has(bluez.Log(), "StartDiscovery"); i++)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  const Outcome outcome = looking.End(SIGINT);
  EXPECT_EQ(outcome.code, 130);
  EXPECT_EQ(outcome.err, "brelix: interrupted\n");
}

TEST(Devices, SaysSoWithoutABus) {
  const Outcome outcome =
      test::Run({"/usr/bin/env", "DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nowhere/bus", BRELIX_COMMAND, "devices"});
  EXPECT_EQ(outcome.code, 4);
  EXPECT_TRUE(Has(outcome.err, "message bus")) << outcome.err;
}

}  // namespace
}  // namespace test
