// BlueZ played by python3-dbusmock's own template of it, on a message bus of the test's own: adapters and devices, as
// many as wanted. It keeps what it is told and checks nothing.
#pragma once

#include "tests/bluez/PrivateBus.h"

namespace test {

class PlayedBluez {
 public:
  PlayedBluez() {
    bluez_.emplace(std::vector<std::string>{"/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "bluez5",
                                            "--logfile", log_});
    for (int i = 0; i < 1000 && !Answers(); i++) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    if (!Answers()) throw std::runtime_error("python3-dbusmock does not play BlueZ: " + bluez_->End(SIGTERM).err);
  }

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
  // Every call that BlueZ got so far, one a line with its time.
  std::string Log() const { return ReadFile(log_); }
  void Stop() {
    bluez_->End(SIGTERM);
    bluez_.reset();
  }

 private:
  static Outcome Send(const std::string& path, const std::string& method, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"/usr/bin/dbus-send", "--system", "--print-reply", "--reply-timeout=10000",
                                         "--dest=org.bluez", path, method});
    return Run(arguments);
  }
  static void Call(const std::string& path, const std::string& method, const std::vector<std::string>& arguments) {
    const Outcome outcome = Send(path, method, arguments);
    if (outcome.code != 0) throw std::runtime_error(method + ": " + outcome.err);
  }
  static bool Answers() { return Send("/org/bluez", "org.freedesktop.DBus.Introspectable.Introspect", {}).code == 0; }

  PrivateBus bus_;
  TemporaryFolder folder_;
  const std::string log_ = (folder_.Path() / "calls.log").string();
  std::optional<Process> bluez_;
};

}  // namespace test
