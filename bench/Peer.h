// A child process that talks over its standard input and output.
#pragma once

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <string_view>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace bench {

inline bool ReadAll(int from, char* to, std::size_t size) {
  for (std::size_t have = 0; have < size;) {
    const ssize_t more = read(from, to + have, size - have);
    if (more <= 0) return false;
    have += static_cast<std::size_t>(more);
  }
  return true;
}

class Peer {
 public:
  // body runs in the child, which ends after it.
  explicit Peer(const std::function<void()>& body) {
    std::array<int, 2> to{};
    std::array<int, 2> from{};
    if (pipe2(to.data(), O_CLOEXEC) != 0 || pipe2(from.data(), O_CLOEXEC) != 0) std::abort();
    m_process = fork();
    if (m_process == 0) {
      dup2(to[0], STDIN_FILENO);
      dup2(from[1], STDOUT_FILENO);
      close(to[1]);
      close(from[0]);
      body();
      _exit(127);
    }
    close(to[0]);
    close(from[1]);
    m_to = to[1];
    m_from = from[0];
  }
  ~Peer() {
    close(m_to);
    close(m_from);
    waitpid(m_process, nullptr, 0);
  }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  bool Say(std::string_view bytes) {
    return write(m_to, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
  }
  bool Hear(char* to, std::size_t size) { return ReadAll(m_from, to, size); }

  // Seconds of processor time that it has used.
  double ProcessorTime() const {
    clockid_t clock{};
    timespec time{};
    if (clock_getcpuclockid(m_process, &clock) != 0 || clock_gettime(clock, &time) != 0) std::abort();
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
  }

 private:
  pid_t m_process;
  int m_to;
  int m_from;
};

}  // namespace bench
