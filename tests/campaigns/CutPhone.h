// A phone in this process whose link is cut after so many bytes of its answers.
#pragma once

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>

#include "tests/support/SlowLink.h"

namespace campaign {

class CutPhone {
 public:
  // Serves the phone's folder on a socket beside it, one desktop after the other.
  explicit CutPhone(const std::filesystem::path& folder);
  ~CutPhone();
  CutPhone(const CutPhone&) = delete;
  CutPhone& operator=(const CutPhone&) = delete;

  std::string Address() const { return "unix:" + m_socket; }
  // For the desktops that come from now on.
  void CutAfter(std::uint64_t bytes) { m_cut = bytes; }
  // Bytes that reached the last desktop, once it has gone.
  std::uint64_t Arrived() const;

 private:
  void Serve();
  void ServeOne(int desktop);

  const std::filesystem::path m_folder;
  const std::string m_socket;
  int m_listener = -1;
  std::atomic<std::uint64_t> m_cut{UINT64_MAX}, m_arrived{0};
  std::atomic<bool> m_busy{false};
  std::thread m_thread;
};

}  // namespace campaign
