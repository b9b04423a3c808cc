// A phone made with brelix-phone, and brelix-phone serving it: the programs as users run them.
#pragma once

#include <chrono>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <signal.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

#include "tests/support/Bytes.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

namespace test {

inline Outcome Brelix(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), BRELIX_COMMAND);
  return Run(std::move(arguments));
}

inline Outcome BrelixPhone(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), BRELIX_PHONE_COMMAND);
  return Run(std::move(arguments));
}

// What --json prints of a list: one value a line. A line that is none is a discarded one.
inline std::vector<nlohmann::json> JsonLines(const std::string& text) {
  std::vector<nlohmann::json> all;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) all.push_back(nlohmann::json::parse(line, nullptr, false));
  return all;
}

class PhoneFolder {
 public:
  explicit PhoneFolder(const nlohmann::json& description) {
    const std::string file = (m_folder.Path() / "phone.json").string();
    std::ofstream(file) << description;
    const Outcome made = BrelixPhone({"init", Path(), "--from", file});
    if (made.code != 0) throw std::runtime_error(made.err);
  }
  std::string Path() const { return (m_folder.Path() / "phone").string(); }
  std::string SocketPath() const { return (m_folder.Path() / "socket").string(); }

 private:
  TemporaryFolder m_folder;
};

class Server {
 public:
  Server(const PhoneFolder& phone, const std::string& listen)
      : m_process({BRELIX_PHONE_COMMAND, "serve", phone.Path(), "--listen", listen, "--check-leaks"}) {
    constexpr std::string_view kSays = "listening on ";
    for (int waited = 0; waited < 1000; ++waited) {
      const std::string out = m_process.Out();
      if (out.starts_with(kSays) && out.ends_with('\n')) {
        m_address = out.substr(kSays.size(), out.size() - kSays.size() - 1);
        return;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    throw std::runtime_error("brelix-phone does not listen: " + m_process.Wait().err);
  }
  const std::string& Address() const { return m_address; }
  // Exit code 0 also says that the agent gave everything back to the phone.
  Outcome End(int signal) { return m_process.End(signal); }

 private:
  Process m_process;
  std::string m_address;
};

// A desktop that says what it likes over a unix socket.
class RawDesktop {
 public:
  explicit RawDesktop(const std::string& path) : m_socket(socket(AF_UNIX, SOCK_STREAM, 0)) {
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    path.copy(name.sun_path, sizeof name.sun_path - 1);
    if (connect(m_socket, reinterpret_cast<sockaddr*>(&name), sizeof name) != 0) throw std::runtime_error("connect");
  }
  ~RawDesktop() { Leave(); }
  void Say(const Bytes& bytes) {
    if (send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size())) {
      throw std::runtime_error("send");
    }
  }
  // As much as comes, up to count.
  Bytes Hear(std::size_t count) {
    Bytes heard(count);
    const ssize_t have = recv(m_socket, heard.data(), count, MSG_WAITALL);
    heard.resize(have < 0 ? 0 : static_cast<std::size_t>(have));
    return heard;
  }
  void Handshake() {
    Say(Frame(1, 247, 1));
    EXPECT_EQ(ToHex(Hear(20)), ToHex(ResultFrame(1, 248, 1, 0)));
  }
  void Leave() {
    if (m_socket >= 0) close(std::exchange(m_socket, -1));
  }

 private:
  int m_socket;
};

}  // namespace test
