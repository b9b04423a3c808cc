// Where brelix-phone listens on a socket of this system: "tcp:HOST:PORT" or "unix:PATH".
#pragma once

#include <filesystem>
#include <string>

namespace brelix_phone {

// A listening socket of this system, and the address that a desktop uses to reach it. A unix socket's path is removed
// with it.
class Listener {
 public:
  // Port 0 takes any free port. Throws std::invalid_argument for an address that cannot be understood or may not be
  // used, std::runtime_error when listening failed; both texts name the address and the reason.
  Listener(const std::string& address, bool allowRemote);
  ~Listener();
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  const std::string& GetAddress() const { return m_address; }
  // Hands the descriptor over to the caller.
  int Release();

 private:
  void ListenTcp(const std::string& hostAndPort, bool allowRemote);
  void ListenUnix(const std::filesystem::path& path);

  int m_descriptor = -1;
  std::string m_address;
  std::filesystem::path m_unixPath;  // to be removed
};

}  // namespace brelix_phone
