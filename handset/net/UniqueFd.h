// Owns a descriptor of the host system.
#pragma once

#include <unistd.h>
#include <utility>

namespace handset {

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : m_fd(fd) {}
  ~UniqueFd() {
    if (m_fd >= 0) ::close(m_fd);
  }
  UniqueFd(UniqueFd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    std::swap(m_fd, other.m_fd);
    return *this;
  }

  int Get() const { return m_fd; }
  // Somebody else owns it now.
  int Release() { return std::exchange(m_fd, -1); }
  explicit operator bool() const { return m_fd >= 0; }

 private:
  int m_fd = -1;
};

}  // namespace handset
