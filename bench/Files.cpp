// Reading files and listing folders over the remote-API stream.
//
//   bench_files BRELIX_PHONE FOLDER
//
// Pulls 64 MiB in chunks, one request at a time, beside a plain copy that is asked for each chunk likewise over the
// same kind of pipe; and lists a folder of 1,000 and one of 100,000 entries. Both ends run on one processor, rounds
// take turns, the best of each counts. FOLDER is to be memory-backed; the phones are made and removed in it.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <functional>
#include <sched.h>
#include <signal.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int kRounds = 3;
constexpr std::size_t kFileSize = std::size_t{64} << 20;
constexpr std::size_t kChunk = 16364;
constexpr std::size_t kRequestSize = 16;
constexpr std::size_t kAround = 20;  // a reply's bytes around its data, the result among them

double Seconds(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void ReadAll(int from, char* to, std::size_t size) {
  for (std::size_t have = 0; have < size;) {
    const ssize_t more = read(from, to + have, size - have);
    if (more <= 0) throw std::runtime_error("the other end stopped answering");
    have += static_cast<std::size_t>(more);
  }
}

void WriteAll(int to, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(to, bytes.data(), bytes.size());
    if (count <= 0) throw std::runtime_error("the other end does not listen");
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

// A child process that talks over its standard input and output.
class Peer {
 public:
  explicit Peer(const std::function<void()>& body) {
    std::array<int, 2> to{};
    std::array<int, 2> from{};
    if (pipe2(to.data(), O_CLOEXEC) != 0 || pipe2(from.data(), O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
    m_process = fork();
    if (m_process == 0) {
      dup2(to[0], STDIN_FILENO);
      dup2(from[1], STDOUT_FILENO);
      close(to[1]);
      close(from[0]);
      try {
        body();
      } catch (const std::exception&) {
        // The asking end has left.
      }
      _exit(127);
    }
    close(to[0]);
    close(from[1]);
    in = from[0];
    out = to[1];
  }
  ~Peer() {
    close(out);
    close(in);
    waitpid(m_process, nullptr, 0);
  }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  // Processor time of both ends.
  double Spent() const {
    clockid_t clock{};
    if (clock_getcpuclockid(m_process, &clock) != 0) throw std::runtime_error("the other end has gone");
    return Seconds(CLOCK_PROCESS_CPUTIME_ID) + Seconds(clock);
  }

  int in;
  int out;

 private:
  pid_t m_process;
};

// An agent and the session with it.
class Agent {
 public:
  Agent(const std::string& program, const std::string& phone)
      : m_peer([&] { execl(program.c_str(), program.c_str(), "rapi", phone.c_str(), nullptr); }), m_reply(1 << 20) {
    Ask(247, {});
  }

  double Spent() const { return m_peer.Spent(); }

  // The result, and the data behind it.
  std::pair<std::uint32_t, std::string_view> Ask(std::uint16_t command, std::string_view data) {
    std::string frame = "XXXX";
    for (const std::size_t field : {std::size_t{1}, std::size_t{command}, data.size()}) {
      frame += static_cast<char>(field >> 8);
      frame += static_cast<char>(field);
    }
    frame.append(data).append("\xF1\x01ZZZZ", 6);
    WriteAll(m_peer.out, frame);
    ReadAll(m_peer.in, m_reply.data(), kAround);
    const std::size_t length = Byte(8) << 8 | Byte(9);
    const std::size_t more = length - 4;
    ReadAll(m_peer.in, m_reply.data() + kAround, more);
    const auto result = static_cast<std::uint32_t>(Byte(10) << 24 | Byte(11) << 16 | Byte(12) << 8 | Byte(13));
    return {result, std::string_view(m_reply.data() + 14, more)};
  }

 private:
  std::size_t Byte(std::size_t at) const { return static_cast<unsigned char>(m_reply[at]); }

  Peer m_peer;
  std::vector<char> m_reply;
};

void Need(bool good, const char* what) {
  if (!good) throw std::runtime_error(what);
}

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
    ReadAll(STDIN_FILENO, request.data(), request.size());
    if (request[0] == 'R') lseek(from, 0, SEEK_SET);
    const ssize_t count = read(from, reply.data() + kAround, kChunk);
    reply[0] = static_cast<char>(count >> 8);
    reply[1] = static_cast<char>(count);
    WriteAll(STDOUT_FILENO, std::string_view(reply.data(), kAround + static_cast<std::size_t>(count)));
  }
}

double CopyPlainly(const Peer& peer, int target) {
  const double begin = peer.Spent();
  Need(ftruncate(target, 0) == 0 && lseek(target, 0, SEEK_SET) == 0, "the copy cannot be written");
  std::array<char, kRequestSize> request{'R'};
  std::vector<char> reply(kChunk + kAround);
  std::size_t copied = 0;
  for (;;) {
    WriteAll(peer.out, {request.data(), request.size()});
    request[0] = 'N';
    ReadAll(peer.in, reply.data(), kAround);
    const std::size_t count = static_cast<unsigned char>(reply[0]) << 8 | static_cast<unsigned char>(reply[1]);
    if (count == 0) break;
    ReadAll(peer.in, reply.data() + kAround, count);
    WriteAll(target, {reply.data() + kAround, count});
    copied += count;
  }
  Need(copied == kFileSize, "the plain copy is not whole");
  return static_cast<double>(copied) / (peer.Spent() - begin);
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
  for (unsigned i = 0; i < entries; ++i) std::ofstream(folder / fmt::format("file {:06}.txt", i));
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
  const Peer plain([&] { GiveChunks((files / "big").string()); });
  double pulled = 0;
  double copied = 0;
  double small = 1e9;
  double large = 1e9;
  for (int round = 0; round < kRounds; ++round) {
    pulled = std::max(pulled, Pull(agent, target));
    copied = std::max(copied, CopyPlainly(plain, target));
    small = std::min(small, List(agent, "small", 1000));
    large = std::min(large, List(agent, "large", 100000));
  }
  agent.Ask(55, {});
  constexpr double kMiB = 1 << 20;
  fmt::print("64 MiB in chunks of {} bytes: agent {:.0f} MiB/s, plain copy {:.0f} MiB/s, time ratio {:.2f}\n", kChunk,
             pulled / kMiB, copied / kMiB, copied / pulled);
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
