// A system bus of the test's own: this process, and those that it starts, take it for the system's.
#pragma once

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <signal.h>
#include <stdexcept>
#include <thread>

#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

namespace test {

class PrivateBus {
 public:
  // policy: what stands in the default policy besides, for example "<deny send_destination='org.bluez'/>".
  explicit PrivateBus(const std::string& policy = "") {
    std::ofstream(m_folder.Path() / "bus.conf")
        << "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
           "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
        << "<busconfig><listen>unix:path=" << SocketPath() << "</listen><policy context='default'>"
        << "<allow send_destination='*'/><allow receive_sender='*'/><allow own='*'/>" << policy
        << "</policy></busconfig>\n";
    setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + SocketPath()).c_str(), 1);
    Start();
  }

  void Start() {
    m_daemon.emplace(std::vector<std::string>{DBUS_DAEMON, "--config-file=" + (m_folder.Path() / "bus.conf").string(),
                                              "--nofork", "--nopidfile", "--nosyslog", "--print-address=1"});
    while (!m_daemon->Out().ends_with('\n')) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  void Stop() {
    m_daemon->End(SIGTERM);
    m_daemon.reset();
    std::filesystem::remove(SocketPath());
  }

 private:
  std::string SocketPath() const { return (m_folder.Path() / "bus").string(); }

  TemporaryFolder m_folder;
  std::optional<Process> m_daemon;
};

}  // namespace test
