// Microseconds of processor time per message of reading all messages of a folder with 1,000 and of one with 100,000,
// over the remote-API stream. Opening the folder counts; the best of a few rounds is printed, with the ratio of the
// two.
//
//   bench_messages BRELIX_PHONE FOLDER
//
// FOLDER: where the two phones are made.
#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <signal.h>
#include <vector>

#include "bench/Peer.h"
#include "handset/Handset.h"

namespace {

constexpr std::string_view kOpenSession{"XXXX\0\1\0\xF7\0\0\0\1ZZZZXXXX\0\1\0\1\0\0\0\1ZZZZ", 32};
constexpr std::string_view kSelect{"XXXX\0\6\0\1\0\2A\0\0\1ZZZZXXXX\0\6\0\5\0\2F\0\0\1ZZZZ", 36};
constexpr std::string_view kReadMessage{"XXXX\0\6\0\17\0\0\0\1ZZZZ", 16};
constexpr std::size_t kDataAt = 10;
constexpr std::size_t kTail = 6;

nlohmann::json PhoneWith(std::size_t messages) {
  nlohmann::json list = nlohmann::json::array();
  for (std::size_t i = 0; i < messages; ++i) {
    // Spread over the years in no order.
    const std::uint64_t time = 128000000000000000 + i * 7919 % messages * 100000000;
    list.push_back({{"sender", {{"name", "Ben Example"}, {"address", "\"Ben Example\" <+15550101>"}}},
                    {"subject", fmt::format("Message {} of this folder", i)},
                    {"delivered", {{"fileTime", time}}}});
  }
  return {{"accounts", {{{"name", "A"}, {"folders", {{{"name", "F"}, {"messages", std::move(list)}}}}}}}};
}

// The 32-bit result of the next reply; nothing when there is none.
std::optional<std::uint32_t> HearResult(bench::Peer& agent, std::vector<char>& reply) {
  const auto byte = [&](std::size_t at) { return static_cast<std::uint32_t>(static_cast<unsigned char>(reply[at])); };
  reply.resize(kDataAt);
  if (!agent.Hear(reply.data(), kDataAt)) return std::nullopt;
  const std::size_t length = byte(8) << 8 | byte(9);
  reply.resize(kDataAt + length + kTail);
  if (length < 4 || !agent.Hear(reply.data() + kDataAt, length + kTail)) return std::nullopt;
  return byte(10) << 24 | byte(11) << 16 | byte(12) << 8 | byte(13);
}

// Selects the folder anew and reads it to its end. Microseconds per message, 0 when they were not as many.
double ReadAllMessages(bench::Peer& agent, std::size_t expected) {
  std::vector<char> reply;
  const double begin = agent.ProcessorTime();
  if (!agent.Say(kSelect) || HearResult(agent, reply) != 0 || HearResult(agent, reply) != 0) return 0;
  std::size_t read = 0;
  for (;; ++read) {
    if (!agent.Say(kReadMessage)) return 0;
    const auto result = HearResult(agent, reply);
    if (result == 2) break;
    if (result != 0) return 0;
  }
  const double took = (agent.ProcessorTime() - begin) * 1e6;
  return read == expected ? took / static_cast<double>(read) : 0;
}

double Measure(const char* program, const std::filesystem::path& phone, std::size_t messages, int rounds) {
  handset::Handset::Init(phone, PhoneWith(messages));
  bench::Peer agent([&] { execl(program, program, "rapi", phone.c_str(), nullptr); });
  std::vector<char> reply;
  if (!agent.Say(kOpenSession) || HearResult(agent, reply) != 0 || HearResult(agent, reply) != 0) return 0;
  double best = 0;
  for (int round = 0; round < rounds; ++round) {
    const double now = ReadAllMessages(agent, messages);
    if (now <= 0) return 0;
    best = best <= 0 ? now : std::min(best, now);
  }
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    fmt::print(stderr, "usage: bench_messages BRELIX_PHONE FOLDER\n");
    return 2;
  }
  signal(SIGPIPE, SIG_IGN);
  const std::filesystem::path folder(argv[2]);
  const double small = Measure(argv[1], folder / "small", 1000, 20);
  const double large = Measure(argv[1], folder / "large", 100000, 3);
  if (small <= 0 || large <= 0) {
    fmt::print(stderr, "bench_messages: {} did not answer as it should\n", argv[1]);
    return 1;
  }
  fmt::print("microseconds a message: of 1,000 {:.1f}, of 100,000 {:.1f}, ratio {:.2f}\n", small, large, large / small);
  return 0;
}
