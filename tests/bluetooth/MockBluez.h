// BlueZ played by python3-dbusmock's own template of it, on a message bus of the test's own. It keeps what it is told
// and checks nothing.
#pragma once

#include <chrono>
#include <fstream>
#include <optional>
#include <signal.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

namespace test {

class MockBluez {
 public:
  MockBluez() {
    const std::string socket = (folder_.Path() / "bus").string();
    const std::string config = (folder_.Path() / "bus.conf").string();
    std::ofstream(config) << "<busconfig><type>system</type><listen>unix:path=" << socket
                          << "</listen><policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                             "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n";
    bus_.emplace(
        std::vector<std::string>{"/usr/bin/dbus-daemon", "--config-file=" + config, "--nofork", "--nopidfile"});
    Until([&] { return access(socket.c_str(), F_OK) == 0; }, "no message bus");
    address_ = "DBUS_SYSTEM_BUS_ADDRESS=unix:path=" + socket;
    StartBluez();
  }

  // The words as a command that finds this bus.
  std::vector<std::string> OnBus(std::vector<std::string> words) const {
    words.insert(words.begin(), {"/usr/bin/env", address_});
    return words;
  }
  Process Start(const std::vector<std::string>& words) const { return Process(OnBus(words)); }
  Outcome Run(const std::vector<std::string>& words) const { return test::Run(OnBus(words)); }

  // "hci0"; its address is 00:01:02:03:04:05, that of hci1 01:02:03:04:05:06.
  void AddAdapter(const std::string& adapter, const std::string& name) const {
    Call("/", "org.bluez.Mock.AddAdapter", {"string:" + adapter, "string:" + name});
  }
  void AddDevice(const std::string& adapter, const std::string& address, const std::string& name) const {
    Call("/", "org.bluez.Mock.AddDevice", {"string:" + adapter, "string:" + address, "string:" + name});
  }
  void Switch(const std::string& adapter, bool on) const {
    Call("/org/bluez/" + adapter, "org.freedesktop.DBus.Properties.Set",
         {"string:org.bluez.Adapter1", "string:Powered", on ? "variant:boolean:true" : "variant:boolean:false"});
  }
  // Calls a method of BlueZ; what dbus-send prints of the answer.
  std::string Call(const std::string& path, const std::string& method, std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"dbus-send", "--system", "--print-reply=literal", "--reply-timeout=10000",
                                         "--dest=org.bluez", path, method});
    const Outcome outcome = Run(arguments);
    if (outcome.code != 0) throw std::runtime_error(method + ": " + outcome.err);
    return outcome.out;
  }

  // Every call that BlueZ got so far, one a line with its time.
  std::string Log() const { return ReadFile(log_); }

  // BlueZ goes away, and comes back knowing nothing.
  void Stop() {
    if (bluez_) bluez_->End(SIGTERM);
    bluez_.reset();
  }
  void StartBluez() {
    bluez_.emplace(
        OnBus({"/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "bluez5", "--logfile", log_}));
    Until(
        [&] {
          return Run({"dbus-send", "--system", "--print-reply", "--reply-timeout=2000", "--dest=org.bluez",
                      "/org/bluez", "org.freedesktop.DBus.Introspectable.Introspect"})
                     .code == 0;
        },
        "BlueZ's mock does not start");
  }

 private:
  template <typename Condition>
  static void Until(Condition condition, const char* otherwise) {
    for (int i = 0; i < 1000; i++) {
      if (condition()) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    throw std::runtime_error(otherwise);
  }

  TemporaryFolder folder_;
  const std::string log_ = (folder_.Path() / "calls.log").string();
  std::string address_;
  std::optional<Process> bus_, bluez_;
};

}  // namespace test
