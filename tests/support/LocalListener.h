// A listening socket under a name that the system picks, and desktops that connect to it.
#pragma once

#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>

namespace test {

class LocalListener {
 public:
  explicit LocalListener(int backlog) : m_descriptor(socket(AF_UNIX, SOCK_STREAM, 0)) {
    m_name.sun_family = AF_UNIX;
    auto* const name = reinterpret_cast<sockaddr*>(&m_name);
    if (bind(m_descriptor, name, sizeof(sa_family_t)) != 0 || listen(m_descriptor, backlog) != 0 ||
        getsockname(m_descriptor, name, &m_size) != 0) {
      throw std::runtime_error("a local socket cannot be listened on");
    }
  }

  // For the phone to adopt, which owns it then.
  int Descriptor() const { return m_descriptor; }

  // A connected desktop's descriptor, the caller's to close.
  int Connect() const {
    const int desktop = socket(AF_UNIX, SOCK_STREAM, 0);
    if (connect(desktop, reinterpret_cast<const sockaddr*>(&m_name), m_size) != 0) {
      throw std::runtime_error("a desktop cannot connect");
    }
    return desktop;
  }

 private:
  int m_descriptor;
  sockaddr_un m_name{};
  socklen_t m_size = sizeof m_name;
};

}  // namespace test
