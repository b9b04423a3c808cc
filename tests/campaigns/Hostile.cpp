// Desktops before phones that lie: every command that reads, against many seeds of `brelix-phone --hostile`. Whatever
// the phone says, the command ends in time, with an exit code that is documented, within its memory, and leaves nothing
// outside the place that it was given.
//
//     hostile_campaign SEEDS          every command with each of the seeds 1 to SEEDS
//     hostile_campaign --short RUNS   run n has seed n and the n-th command, in turn
#include <atomic>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "tests/campaigns/Child.h"
#include "tests/support/TemporaryFolder.h"

namespace campaign {
namespace {

namespace fs = std::filesystem;

using Words = std::vector<std::string>;

// What a sanitizer adds is not the program's.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long kMemoryFactor = 5;
#else
constexpr long kMemoryFactor = 1;
#endif
constexpr long kMostMemoryKib = 256 * 1024 * kMemoryFactor;
constexpr int kSanitizerExit = 99;
// They mostly wait.
constexpr unsigned kJobs = 4;
const fs::path kOutside = "/tmp/brelix-outside";  // where one of the phone's names leads

// docs/brelix.md, "Exit codes", without 1: a fault in the command itself.
const std::set<int> kExits = {0, 2, 3, 4, 5, 6, 7, 8, 10, 11, 12};

// "HONEST" stands for the folder of the phone that is asked, "out" is where files may appear.
const std::vector<Words> kCommands = {
    {"info"},
    {"status"},
    {"clock"},
    {"contacts", "list"},
    {"contacts", "get", "1"},
    {"contacts", "export", "--vcard", "out/people.vcf"},
    {"contacts", "photo", "1", "--save", "out/photo"},
    {"agenda", "list"},
    {"agenda", "get", "1"},
    {"agenda", "export", "--ical", "out/days.ics"},
    {"calls", "list"},
    {"calls", "export", "--csv", "out/calls.csv"},
    {"messages", "accounts"},
    {"messages", "folders", "SMS"},
    {"messages", "list", "SMS", "Inbox"},
    {"messages", "export", "SMS", "--mbox", "out/sms.mbox"},
    {"sms", "status", "1"},
    {"files", "ls", "-R"},
    {"files", "stat", "/My Documents"},
    {"files", "cat", "/My Documents/shopping.txt"},
    {"files", "pull", "/", "out/files"},
    {"registry", "ls", "HKLM"},
    {"registry", "export", "HKLM", "-o", "out/device.reg"},
    {"diff", "HONEST", "PHONE", "--contents"},
    {"raw", "1", "15"},
    {"doctor"},
    {"backup", "out/backup"},
};

std::set<std::string> Listing(const fs::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) names.insert(entry.path().string());
  return names;
}

class Campaign {
 public:
  Campaign(unsigned seeds, bool rotate) : rotate_(rotate), runs_(rotate ? seeds : seeds * kCommands.size()) {
    const fs::path demo = BRELIX_DEMO;
    const Ending made = RunChild({{BRELIX_PHONE_COMMAND, "init", Phone().string(), "--from", demo / "phone.json",
                                   "--files", demo / "files", "--registry", demo / "device.reg"},
                                  scratch_.Path(),
                                  scratch_.Path() / "err"});
    if (made.exit != 0) throw std::runtime_error(made.err);
  }

  bool Run() {
    std::vector<std::thread> jobs;
    for (unsigned job = 0; job < kJobs; job++) jobs.emplace_back([this, job] { Work(job); });
    for (std::thread& job : jobs) job.join();
    fmt::print("hostile: {} runs ended; by exit code:", runs_);
    for (const auto& [code, times] : exits_) fmt::print(" {} x {}", times, code);
    fmt::print("; most memory {} MiB; {} failures\n", peak_kib_ / 1024, failures_);
    return failures_ == 0;
  }

 private:
  fs::path Phone() const { return scratch_.Path() / "phone"; }

  void Work(unsigned job) {
    const fs::path place = scratch_.Path() / fmt::format("job{}", job);
    const fs::path folder = place / "a" / "b" / "work";
    fs::create_directories(folder);
    fs::create_directory(place / "tmp");
    for (std::size_t run = next_++; run < runs_; run = next_++) {
      const std::size_t seed = 1 + (rotate_ ? run : run / kCommands.size());
      RunOne(place, folder, seed, kCommands[run % kCommands.size()]);
      if (run % 1000 == 999) {
        fmt::print("hostile: {} of {} runs\n", run + 1, runs_);
        std::fflush(stdout);
      }
    }
  }

  void RunOne(const fs::path& place, const fs::path& folder, std::size_t seed, const Words& command) {
    fs::create_directory(folder / "out");
    const std::string hostile = fmt::format("--hostile {}", seed);
    Ending ending = RunCommand(place, folder, hostile, command);
    std::string wrong = Judge(ending, LeftBehind(place, folder));
    if (wrong.empty() && command[0] == "backup") wrong = JudgeBackup(place, folder, ending);
    fs::remove_all(folder / "out");
    const std::lock_guard lock(mutex_);
    exits_[ending.exit]++;
    peak_kib_ = std::max(peak_kib_, ending.peak_kib);
    if (wrong.empty()) return;
    failures_++;
    fmt::print("hostile: seed {}: brelix {}: {}\n{}\n", seed, fmt::join(command, " "), wrong,
               ending.err.substr(0, 4000));
    std::fflush(stdout);
  }

  Ending RunCommand(const fs::path& place, const fs::path& folder, const std::string& how, const Words& command) const {
    const std::string address = fmt::format("exec:{} rapi --no-log {} {}", BRELIX_PHONE_COMMAND, how, Phone().string());
    ChildRun run;
    // A liar may never answer; an honest phone does, however busy the machine is.
    run.words = {BRELIX_COMMAND, "--read-only", "--timeout", how.empty() ? "20" : "0.5"};
    if (command[0] != "verify") run.words.insert(run.words.end(), {"-d", address});
    for (const std::string& word : command)
      run.words.push_back(word == "HONEST" ? Phone().string() : word == "PHONE" ? address : word);
    run.folder = folder;
    run.err = place / "err";
    run.settings = {"TMPDIR=" + (place / "tmp").string(),
                    fmt::format("ASAN_OPTIONS=exitcode={}:quarantine_size_mb=8", kSanitizerExit)};
    return RunChild(run);
  }

  // What the liar left is a whole backup or none. An honest phone's backup takes its place or goes on with it, with
  // what the liar kept back still missing, unless the liar said that it is another phone. `ending` becomes that of what
  // went wrong.
  std::string JudgeBackup(const fs::path& place, const fs::path& folder, Ending& ending) const {
    const bool made = ending.exit == 0 || ending.exit == 11;
    if (made != fs::exists(folder / "out" / "backup")) return "and the exit code says otherwise about the backup";
    if (made) {
      ending = RunCommand(place, folder, "", {"verify", "out/backup"});
      if (ending.exit != 0 && ending.exit != 11)  // 11: with losses
        return fmt::format("and the backup does not verify: exit code {}", ending.exit);
    }
    ending = RunCommand(place, folder, "", {"backup", "out/backup"});
    const std::set<int> expected = {0, 2, 3, 11};
    if (!expected.contains(ending.exit))
      return fmt::format("and an honest backup behind it ended with exit code {}", ending.exit);
    return Judge(ending, LeftBehind(place, folder));
  }

  // Everything that is where nothing should be, and what in "out" is neither a file nor a folder.
  static std::set<std::string> LeftBehind(const fs::path& place, const fs::path& folder) {
    std::set<std::string> left = Listing(place);
    const std::string out = (folder / "out").string();
    const std::set<std::string> known = {(place / "a").string(),   (place / "a" / "b").string(), folder.string(), out,
                                         (place / "tmp").string(), (place / "err").string()};
    std::erase_if(left, [&](const std::string& path) {
      if (known.contains(path)) return true;
      const auto kind = fs::symlink_status(path).type();
      return path.starts_with(out + "/") && (kind == fs::file_type::regular || kind == fs::file_type::directory);
    });
    if (fs::exists(fs::symlink_status(kOutside))) left.insert(kOutside.string());
    return left;
  }

  static std::string Judge(const Ending& ending, const std::set<std::string>& left) {
    if (ending.too_long) return "did not end";
    if (ending.signal != 0) return fmt::format("was ended by signal {} ({})", ending.signal, strsignal(ending.signal));
    if (ending.exit == kSanitizerExit || Sanitized(ending)) return "a sanitizer complained";
    if (!kExits.contains(ending.exit)) return fmt::format("ended with exit code {}", ending.exit);
    if (ending.peak_kib > kMostMemoryKib) return fmt::format("took {} MiB of memory", ending.peak_kib / 1024);
    if (!left.empty()) return fmt::format("left {}", fmt::join(left, ", "));
    return {};
  }

  const bool rotate_;
  const std::size_t runs_;
  const test::TemporaryFolder scratch_;
  std::atomic<std::size_t> next_{0};
  std::mutex mutex_;
  std::map<int, std::size_t> exits_;
  long peak_kib_ = 0;
  std::size_t failures_ = 0;
};

}  // namespace
}  // namespace campaign

int main(int argc, char** argv) {
  const bool rotate = argc == 3 && std::strcmp(argv[1], "--short") == 0;
  const int count = argc == (rotate ? 3 : 2) ? std::atoi(argv[argc - 1]) : 0;
  if (count <= 0) {
    fmt::print(stderr, "usage: hostile_campaign SEEDS, or hostile_campaign --short RUNS\n");
    return 2;
  }
  return campaign::Campaign(static_cast<unsigned>(count), rotate).Run() ? 0 : 1;
}
