// Requests per second over the remote-API stream, one at a time, beside an echo of the same sizes over the same kind of
// pipe. Prints both and their ratio; the rounds take turns and the best of each counts.
//
//   bench_requests BRELIX_PHONE PHONE_FOLDER
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fmt/format.h>
#include <signal.h>
#include <string_view>

#include "bench/Peer.h"

namespace {

constexpr int kRounds = 5;
constexpr int kRequestsARound = 20000;

constexpr std::string_view kHandshake{"XXXX\0\1\0\xF7\0\0\0\1ZZZZ", 16};
constexpr std::string_view kClose{"XXXX\0\1\0\3\0\0\0\1ZZZZ", 16};
constexpr std::size_t kReplySize = 20;  // a bare result

bool Ask(bench::Peer& peer, std::string_view request) {
  std::array<char, kReplySize> reply{};
  return peer.Say(request) && peer.Hear(reply.data(), reply.size());
}

// Requests per second, 0 when the peer stopped answering.
double Measure(bench::Peer& peer) {
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < kRequestsARound; ++i) {
    if (!Ask(peer, kClose)) return 0;
  }
  return kRequestsARound / std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

void Echo() {
  std::array<char, kReplySize> buffer{};
  while (bench::ReadAll(STDIN_FILENO, buffer.data(), kClose.size())) {
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
  bench::Peer agent([&] { execl(argv[1], argv[1], "rapi", argv[2], nullptr); });
  bench::Peer echo(&Echo);
  double best_agent = 0;
  double best_echo = 0;
  bool answered = Ask(agent, kHandshake);
  for (int round = 0; round < kRounds && answered; ++round) {
    const double now = Measure(agent);
    answered = now > 0;
    best_agent = std::max(best_agent, now);
    best_echo = std::max(best_echo, Measure(echo));
  }
  if (!answered || best_echo <= 0) {
    fmt::print(stderr, "bench_requests: {} stopped answering\n", answered ? "the echo" : argv[1]);
    return 1;
  }
  fmt::print("requests of 16 bytes a second: agent {:.0f}, echo {:.0f}, ratio {:.2f}\n", best_agent, best_echo,
             best_agent / best_echo);
  return 0;
}
