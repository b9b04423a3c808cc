// Requests per second over the remote-API stream, one at a time, beside an echo of the same sizes over the same kind of
// pipe. Prints both and their ratio; the rounds take turns and the best of each counts.
//
//   bench_requests BRELIX_PHONE PHONE_FOLDER
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <fmt/format.h>
#include <functional>
#include <signal.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kRounds = 5;
constexpr int kRequestsARound = 20000;

constexpr std::string_view kHandshake{"XXXX\0\1\0\xF7\0\0\0\1ZZZZ", 16};
constexpr std::string_view kClose{"XXXX\0\1\0\3\0\0\0\1ZZZZ", 16};
constexpr std::size_t kReplySize = 20;  // a bare result

bool ReadAll(int from, char* to, std::size_t size) {
  for (std::size_t have = 0; have < size;) {
    const ssize_t more = read(from, to + have, size - have);
    if (more <= 0) return false;
    have += static_cast<std::size_t>(more);
  }
  return true;
}

// A child process that talks over its standard input and output.
class Peer {
 public:
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

  bool Ask(std::string_view request) {
    std::array<char, kReplySize> reply{};
    return write(m_to, request.data(), request.size()) == static_cast<ssize_t>(request.size()) &&
           ReadAll(m_from, reply.data(), reply.size());
  }

  // Requests per second, 0 when the peer stopped answering.
  double Measure() {
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < kRequestsARound; ++i) {
      if (!Ask(kClose)) return 0;
    }
    return kRequestsARound / std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  }

 private:
  pid_t m_process;
  int m_to;
  int m_from;
};

void Echo() {
  std::array<char, kReplySize> buffer{};
  while (ReadAll(STDIN_FILENO, buffer.data(), kClose.size())) {
    if (write(STDOUT_FILENO, buffer.data(), buffer.size()) < 0) return;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    fmt::print(stderr, "usage: bench_requests BRELIX_PHONE PHONE_FOLDER\n");
    return 2;
  }
  signal(SIGPIPE, SIG_IGN);
  Peer agent([&] { execl(argv[1], argv[1], "rapi", argv[2], nullptr); });
  Peer echo(&Echo);
  double best_agent = 0;
  double best_echo = 0;
  bool answered = agent.Ask(kHandshake);
  for (int round = 0; round < kRounds && answered; ++round) {
    const double now = agent.Measure();
    answered = now > 0;
    best_agent = std::max(best_agent, now);
    best_echo = std::max(best_echo, echo.Measure());
  }
  if (!answered || best_echo <= 0) {
    fmt::print(stderr, "bench_requests: {} stopped answering\n", answered ? "the echo" : argv[1]);
    return 1;
  }
  fmt::print("requests of 16 bytes a second: agent {:.0f}, echo {:.0f}, ratio {:.2f}\n", best_agent, best_echo,
             best_agent / best_echo);
  return 0;
}
