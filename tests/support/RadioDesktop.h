// A desktop on a channel of a phone's scripted radio.
#pragma once

#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

#include "tests/support/Bytes.h"
#include "tests/support/TemporaryFolder.h"

namespace test {

class RadioDesktop {
 public:
  RadioDesktop() = default;
  ~RadioDesktop() { Leave(); }
  RadioDesktop(const RadioDesktop&) = delete;
  RadioDesktop& operator=(const RadioDesktop&) = delete;

  // False when nobody listens on the channel.
  bool Connect(const std::filesystem::path& phone, int channel) {
    Leave();
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    const std::string path = (phone / "bluetooth" / ("channel-" + std::to_string(channel))).string();
    path.copy(name.sun_path, sizeof name.sun_path - 1);
    m_descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
    return connect(m_descriptor, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0;
  }
  void Say(const Bytes& bytes) { Say(bytes.data(), bytes.size()); }
  Bytes Hear(std::size_t size) {
    Bytes heard(size);
    const ssize_t count = recv(m_descriptor, heard.data(), size, MSG_WAITALL);
    heard.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    return heard;
  }
  void Leave() {
    if (m_descriptor >= 0) close(std::exchange(m_descriptor, -1));
  }

 private:
  void Say(const std::uint8_t* bytes, std::size_t size) {
    if (send(m_descriptor, bytes, size, MSG_NOSIGNAL) != static_cast<ssize_t>(size)) {
      throw std::runtime_error("the phone does not listen any more");
    }
  }

  int m_descriptor = -1;
};

}  // namespace test
