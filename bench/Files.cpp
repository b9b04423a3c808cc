// Reading files and listing folders over the remote-API stream.
//
//   bench_files BRELIX_PHONE FOLDER
//
// Pulls 64 MiB in chunks, one request at a time, beside a plain copy that is asked for each chunk likewise over the
// same kind of pipe; pulls 1,000 small files; and lists a folder of 1,000 and one of 100,000 entries. Both ends run on
// one processor, rounds take turns, the best of each counts. FOLDER is to be memory-backed; the phones are made and
// removed in it.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <sched.h>
#include <signal.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <time.h>
#include <unistd.h>
#include <vector>

#include "bench/Peer.h"

namespace {

namespace fs = std::filesystem;

constexpr int kRounds = 3;
constexpr std::size_t kFileSize = std::size_t{64} << 20;
constexpr std::size_t kChunk = 16364;
constexpr std::size_t kRequestSize = 16;
constexpr std::string_view kSmallText = "a small file\n";
constexpr std::size_t kAround = 20;  // a reply's bytes around its data, the result among them

using bench::Peer;

double OwnProcessorTime() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Of both ends.
double Spent(const Peer& peer) { return OwnProcessorTime() + peer.ProcessorTime(); }

void Need(bool good, const char* what) {
  if (!good) throw std::runtime_error(what);
}

void WriteAll(int to, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(to, bytes.data(), bytes.size());
    if (count <= 0) throw std::runtime_error("the copy cannot be written");
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

// An agent and the session with it.
class Agent {
 public:
  Agent(const std::string& program, const std::string& phone)
      : m_peer([&] { execl(program.c_str(), program.c_str(), "rapi", phone.c_str(), nullptr); }), m_reply(1 << 20) {
    Ask(247, {});
  }

  double Spent() const { return ::Spent(m_peer); }

  // The result, and the data behind it.
  std::pair<std::uint32_t, std::string_view> Ask(std::uint16_t command, std::string_view data) {
    std::string frame = "XXXX";
    for (const std::size_t field : {std::size_t{1}, std::size_t{command}, data.size()}) {
      frame += static_cast<char>(field >> 8);
      frame += static_cast<char>(field);
    }
    frame.append(data).append("\xF1\x01ZZZZ", 6);
    Need(m_peer.Say(frame) && m_peer.Hear(m_reply.data(), kAround), "the agent stopped answering");
    const std::size_t length = Byte(8) << 8 | Byte(9);
    const std::size_t more = length - 4;
    Need(m_peer.Hear(m_reply.data() + kAround, more), "the agent stopped answering");
    const auto result = static_cast<std::uint32_t>(Byte(10) << 24 | Byte(11) << 16 | Byte(12) << 8 | Byte(13));
    return {result, std::string_view(m_reply.data() + 14, more)};
  }

 private:
  std::size_t Byte(std::size_t at) const { return static_cast<unsigned char>(m_reply[at]); }

  Peer m_peer;
  std::vector<char> m_reply;
};

// Bytes a second.
double Pull(Agent& agent, int target) {
  const double begin = agent.Spent();
  Need(ftruncate(target, 0) == 0 && lseek(target, 0, SEEK_SET) == 0, "the copy cannot be written");
  Need(agent.Ask(57, "\\big").first == 0, "the file cannot be opened");
  std::size_t pulled = 0;
  for (;;) {
    const auto [result, chunk] = agent.Ask(59, {});
    Need(result == 0, "the file cannot be read");
    if (chunk.empty()) break;
    WriteAll(target, chunk);
    pulled += chunk.size();
  }
  Need(agent.Ask(61, {}).first == 0 && pulled == kFileSize, "the file is not whole");
  return static_cast<double>(pulled) / (agent.Spent() - begin);
}

// The plain copy's end that has the file: a chunk for each request.
void GiveChunks(const std::string& file) {
  const int from = open(file.c_str(), O_RDONLY);
  std::array<char, kRequestSize> request{};
  std::vector<char> reply(kChunk + kAround);
  for (;;) {
    if (!bench::ReadAll(STDIN_FILENO, request.data(), request.size())) return;
    if (request[0] == 'R') lseek(from, 0, SEEK_SET);
    const ssize_t count = read(from, reply.data() + kAround, kChunk);
    reply[0] = static_cast<char>(count >> 8);
    reply[1] = static_cast<char>(count);
    WriteAll(STDOUT_FILENO, std::string_view(reply.data(), kAround + static_cast<std::size_t>(count)));
  }
}

double CopyPlainly(Peer& peer, int target) {
  const double begin = Spent(peer);
  Need(ftruncate(target, 0) == 0 && lseek(target, 0, SEEK_SET) == 0, "the copy cannot be written");
  std::array<char, kRequestSize> request{'R'};
  std::vector<char> reply(kChunk + kAround);
  std::size_t copied = 0;
  for (;;) {
    Need(peer.Say({request.data(), request.size()}) && peer.Hear(reply.data(), kAround), "the plain copy broke off");
    request[0] = 'N';
    const std::size_t count = static_cast<unsigned char>(reply[0]) << 8 | static_cast<unsigned char>(reply[1]);
    if (count == 0) break;
    Need(peer.Hear(reply.data() + kAround, count), "the plain copy broke off");
    WriteAll(target, {reply.data() + kAround, count});
    copied += count;
  }
  Need(copied == kFileSize, "the plain copy is not whole");
  return static_cast<double>(copied) / (Spent(peer) - begin);
}

// Microseconds a file: opened, read to its end, closed.
double PullSmall(Agent& agent, unsigned files) {
  const double begin = agent.Spent();
  for (unsigned i = 0; i < files; ++i) {
    Need(agent.Ask(57, fmt::format("\\small\\file {:06}.txt", i)).first == 0, "a small file cannot be opened");
    const std::string chunk(agent.Ask(59, {}).second);
    Need(chunk == kSmallText && agent.Ask(59, {}).second.empty(), "a small file is not whole");
    Need(agent.Ask(61, {}).first == 0, "a small file cannot be closed");
  }
  return (agent.Spent() - begin) * 1e6 / files;
}

// Microseconds an entry.
double List(Agent& agent, const std::string& folder, unsigned entries) {
  const double begin = agent.Spent();
  Need(agent.Ask(51, "\\" + folder + "\\*").first == 0, "the listing cannot be opened");
  std::size_t seen = 0;
  std::size_t parts = 0;
  for (std::uint32_t result = 0; result == 0; ++parts) {
    const auto [told, document] = agent.Ask(53, {});
    result = told;
    Need(result == 0 || result == 18, "the listing broke off");
    for (std::size_t at = 0; (at = document.find("    <name>", at)) != std::string_view::npos; ++at) ++seen;
  }
  Need(seen - (parts - 1) == entries, "the listing is not whole");
  return (agent.Spent() - begin) * 1e6 / entries;
}

void MakeFolder(const fs::path& folder, unsigned entries) {
  fs::create_directory(folder);
  for (unsigned i = 0; i < entries; ++i) std::ofstream(folder / fmt::format("file {:06}.txt", i)) << kSmallText;
}

void Measure(const std::string& program, const fs::path& scratch) {
  const std::string phone = (scratch / "phone").string();
  Need(std::system(fmt::format("{} init {} 2>/dev/null", program, phone).c_str()) == 0, "the phone cannot be made");
  const fs::path files = fs::path(phone) / "files";
  std::ofstream(files / "big") << std::string(kFileSize, 'b');
  MakeFolder(files / "small", 1000);
  MakeFolder(files / "large", 100000);
  const int target = open((scratch / "copy").c_str(), O_RDWR | O_CREAT, 0600);
  Agent agent(program, phone);
  Peer plain([&] { GiveChunks((files / "big").string()); });
  double pulled = 0;
  double copied = 0;
  double small = 1e9;
  double large = 1e9;
  double each = 1e9;
  for (int round = 0; round < kRounds; ++round) {
    pulled = std::max(pulled, Pull(agent, target));
    copied = std::max(copied, CopyPlainly(plain, target));
    small = std::min(small, List(agent, "small", 1000));
    large = std::min(large, List(agent, "large", 100000));
    each = std::min(each, PullSmall(agent, 1000));
  }
  agent.Ask(55, {});
  constexpr double kMiB = 1 << 20;
  fmt::print("64 MiB in chunks of {} bytes: agent {:.0f} MiB/s, plain copy {:.0f} MiB/s, time ratio {:.2f}\n", kChunk,
             pulled / kMiB, copied / kMiB, copied / pulled);
  fmt::print("1,000 small files: {:.1f} us each, in four requests\n", each);
  fmt::print("listing, microseconds an entry: 1,000 entries {:.2f}, 100,000 entries {:.2f}, ratio {:.2f}\n", small,
             large, large / small);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    fmt::print(stderr, "usage: bench_files BRELIX_PHONE FOLDER\n");
    return 2;
  }
  signal(SIGPIPE, SIG_IGN);
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(0, &one);
  std::string scratch = std::string(argv[2]) + "/bench-files-XXXXXX";
  if (sched_setaffinity(0, sizeof one, &one) != 0 || mkdtemp(scratch.data()) == nullptr) {
    fmt::print(stderr, "bench_files: {}: no folder can be made here\n", argv[2]);
    return 1;
  }
  int status = 0;
  try {
    Measure(argv[1], scratch);
  } catch (const std::exception& error) {
    fmt::print(stderr, "bench_files: {}\n", error.what());
    status = 1;
  }
  fs::remove_all(scratch);
  return status;
}
