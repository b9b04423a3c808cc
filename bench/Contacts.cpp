// What a contact costs to read over the remote-API stream, on a phone of many contacts against a phone of few, beside
// reading the same rows of the same database with SQLite. Counted is processor time, so that what else the machine does
// matters little; the rounds take turns and the best of each counts.
//
//   bench_contacts BRELIX_PHONE FEW_FOLDER MANY_FOLDER
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fmt/format.h>
#include <signal.h>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <time.h>
#include <vector>

#include "bench/Peer.h"

namespace {

constexpr int kRounds = 5;
constexpr unsigned kReadsARound = 10000;
// Requests that are under way at a time; they fit the pipe and the agent's receive buffer.
constexpr unsigned kAhead = 32;

// Seconds of processor time that this program has used.
double ProcessorTime() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

std::string Number(std::uint32_t value, int bytes) {
  std::string text;
  for (int i = bytes - 1; i >= 0; --i) text += static_cast<char>(value >> (8 * i) & 0xFF);
  return text;
}

std::string Frame(std::uint32_t module, std::uint32_t command, const std::string& data = {}) {
  return "XXXX" + Number(module, 2) + Number(command, 2) + Number(static_cast<std::uint32_t>(data.size()), 2) + data +
         Number(1, 2) + "ZZZZ";
}

// A session with the contacts open.
class Session {
 public:
  Session(const char* program, const std::string& folder)
      : m_peer([&] { execl(program, program, "rapi", folder.c_str(), nullptr); }) {
    for (const auto& [module, command] : {std::pair{1, 247}, {1, 1}, {3, 1}}) Ask(Frame(module, command));
    Ask(Frame(3, 5));
    m_count = static_cast<std::uint8_t>(m_data[6]) << 8 | static_cast<std::uint8_t>(m_data[7]);
  }

  unsigned Count() const { return m_count; }
  double ProcessorTime() const { return m_peer.ProcessorTime(); }

  // Seconds for each contact. Reads all contacts, again and again until there were enough.
  double Read() {
    const double begin = m_peer.ProcessorTime();
    for (unsigned i = 0; i < kReadsARound + kAhead; ++i) {
      if (i < kReadsARound) Say(Frame(3, 9, Number(i % m_count + 1, 4)));
      if (i >= kAhead) Hear();
    }
    return (m_peer.ProcessorTime() - begin) / kReadsARound;
  }

 private:
  void Ask(const std::string& frame) {
    Say(frame);
    Hear();
  }
  void Say(const std::string& frame) {
    if (!m_peer.Say(frame)) throw std::runtime_error("the phone hung up");
  }
  // A reply that begins with result 0.
  void Hear() {
    std::array<char, 10> head{};
    if (!m_peer.Hear(head.data(), head.size())) throw std::runtime_error("the phone stopped answering");
    const std::size_t size = static_cast<std::uint8_t>(head[8]) << 8 | static_cast<std::uint8_t>(head[9]);
    m_data.resize(size + 6);
    if (!m_peer.Hear(m_data.data(), m_data.size())) throw std::runtime_error("the phone stopped answering");
    if (!m_data.starts_with(std::string(4, '\0'))) throw std::runtime_error("the phone answered with an error");
  }

  bench::Peer m_peer;
  std::string m_data;
  unsigned m_count = 0;
};

// Seconds for each contact: its row and its picture by object id, as the phone reads them.
double ReadRows(const std::string& folder) {
  sqlite3* database = nullptr;
  std::vector<sqlite3_int64> oids;
  const auto prepare = [&](const char* sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, sql, -1, &statement, nullptr) != SQLITE_OK) {
      throw std::runtime_error(sqlite3_errmsg(database));
    }
    return statement;
  };
  if (sqlite3_open((folder + "/phone.db").c_str(), &database) != SQLITE_OK) throw std::runtime_error("no database");
  sqlite3_stmt* list = prepare("SELECT oid FROM contact ORDER BY oid");
  while (sqlite3_step(list) == SQLITE_ROW) oids.push_back(sqlite3_column_int64(list, 0));
  sqlite3_finalize(list);
  sqlite3_stmt* row = prepare("SELECT * FROM contact LEFT JOIN contact_picture ON contact = oid WHERE oid = ?");
  std::size_t bytes = 0;
  const double begin = ProcessorTime();
  for (unsigned i = 0; i < kReadsARound; ++i) {
    sqlite3_bind_int64(row, 1, oids[i % oids.size()]);
    sqlite3_step(row);
    for (int column = 0; column < sqlite3_column_count(row); ++column) {
      if (sqlite3_column_blob(row, column) != nullptr)
        bytes += static_cast<std::size_t>(sqlite3_column_bytes(row, column));
    }
    sqlite3_reset(row);
  }
  const double seconds = (ProcessorTime() - begin) / kReadsARound;
  sqlite3_finalize(row);
  sqlite3_close(database);
  if (bytes == 0) throw std::runtime_error("the rows are empty");
  return seconds;
}

int Run(const char* program, const std::string& few, const std::string& many) {
  Session small(program, few);
  Session large(program, many);
  const double openSmall = small.ProcessorTime(), openLarge = large.ProcessorTime();
  double readSmall = 1e9, readLarge = 1e9, rows = 1e9;
  for (int round = 0; round < kRounds; ++round) {
    readSmall = std::min(readSmall, small.Read());
    readLarge = std::min(readLarge, large.Read());
    rows = std::min(rows, ReadRows(many));
  }
  fmt::print("opening a phone to the number of its contacts: {} contacts {:.0f} ms, {} contacts {:.0f} ms\n",
             small.Count(), openSmall * 1e3, large.Count(), openLarge * 1e3);
  fmt::print("reading a contact: of {} {:.1f} us, of {} {:.1f} us, ratio {:.2f}\n", small.Count(), readSmall * 1e6,
             large.Count(), readLarge * 1e6, readLarge / readSmall);
  fmt::print("  beside it, the same rows with SQLite: {:.1f} us, ratio {:.1f}\n", rows * 1e6, readLarge / rows);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    fmt::print(stderr, "usage: bench_contacts BRELIX_PHONE FEW_FOLDER MANY_FOLDER\n");
    return 2;
  }
  signal(SIGPIPE, SIG_IGN);
  try {
    return Run(argv[1], argv[2], argv[3]);
  } catch (const std::exception& error) {
    fmt::print(stderr, "bench_contacts: {}\n", error.what());
    return 1;
  }
}
