// A backup over a link that is cut: after every byte of the phone's answers up to the first 20,000, then after every
// 997th. What is on the disk is the old backup or none, and something to go on with; going on makes the same backup as
// a run that nobody disturbed.
//
//     cut_campaign           all of it, many at once, as each mostly waits for the agent's sleeps
//     cut_campaign STEP      after every STEP-th byte only
#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fmt/format.h>
#include <new>
#include <sys/mman.h>
#include <sys/wait.h>

#include "desktop/backup/Backup.h"
#include "desktop/backup/Verify.h"
#include "tests/backup/SilentWatch.h"
#include "tests/campaigns/Child.h"
#include "tests/campaigns/CutPhone.h"
#include "tests/support/TemporaryFolder.h"

namespace campaign {
namespace {

namespace fs = std::filesystem;
namespace backup = brelix::backup;

constexpr std::uint64_t kEachUpTo = 20000;
constexpr std::uint64_t kThenEvery = 997;
constexpr unsigned kJobs = 32;

// What the jobs, a process each, have done together.
struct Tally {
  std::atomic<std::uint64_t> runs, partials, went_on, failures, bytes;
  std::array<std::atomic<std::uint64_t>, 16> exits;
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

Tally& SharedTally() {
  void* memory = mmap(nullptr, sizeof(Tally), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::runtime_error("no memory to share");
  return *new (memory) Tally{};
}

// A backup syncs all that it writes, so memory is the place for thousands of them.
fs::path Place() {
  const fs::path memory = "/dev/shm";
  return access(memory.c_str(), W_OK) == 0 ? memory : fs::temp_directory_path();
}

// The manifest but for when, and as which, the backup was taken.
nlohmann::json Contents(const fs::path& folder) {
  nlohmann::json manifest = nlohmann::json::parse(test::ReadFile(folder / backup::kManifestName));
  manifest.erase("taken");
  return manifest;
}

class Campaign {
 public:
  explicit Campaign(Tally& tally)
      : tally_(tally), scratch_(Place()), target_(scratch_.Path() / "backup"), phone_(MakePhone(scratch_.Path())) {
    for (const backup::Domain* domain : backup::Domains()) options_.domains.push_back(domain);
    options_.tool_version = "campaign";
  }

  // Every kJobs-th cut, beginning with the job's own.
  void Run(std::uint64_t step, unsigned job) {
    const std::optional<brelix::Failure> failure = Take();
    if (failure) throw *failure;
    expected_ = Contents(target_);
    const std::uint64_t total = phone_.Arrived();
    tally_.bytes = total;
    std::uint64_t count = 0;
    for (std::uint64_t cut = 0; cut <= total; cut += step != 0 ? step : cut < kEachUpTo ? 1 : kThenEvery) {
      if (count++ % kJobs != job) continue;
      CutOnce(cut, count / kJobs % 2 == 0);
      if (const std::uint64_t runs = ++tally_.runs; runs % 1000 == 0) fmt::print("cut: {} links cut\n", runs);
      std::fflush(stdout);
    }
  }

 private:
  static fs::path MakePhone(const fs::path& scratch) {
    const fs::path demo = BRELIX_DEMO, phone = scratch / "phone";
    const Ending made = RunChild({{BRELIX_PHONE_COMMAND, "init", phone.string(), "--from", demo / "phone.json",
                                   "--files", demo / "files", "--registry", demo / "device.reg"},
                                  scratch,
                                  scratch / "err"});
    if (made.exit != 0) throw std::runtime_error(made.err);
    return phone;
  }

  // A backup; nothing when it was finished.
  std::optional<brelix::Failure> Take() {
    test::SilentWatch silent;
    try {
      brelix::Session session(brelix::Connect(phone_.Address(), brelix::Clock::now() + std::chrono::seconds(10), -1),
                              {});
      brelix::Client(session).Start();
      const backup::BackupOutcome outcome = backup::MakeBackup(session, target_, options_, silent);
      if (outcome.went_on) tally_.went_on++;
      return std::nullopt;
    } catch (const brelix::Failure& failure) {
      return failure;
    }
  }

  void CutOnce(std::uint64_t cut, bool with_old_one) {
    if (!with_old_one) fs::remove_all(target_);
    const std::string before = with_old_one && fs::exists(target_) ? test::ReadFile(target_ / "manifest.json") : "";
    phone_.CutAfter(cut);
    const std::optional<brelix::Failure> failure = Take();
    phone_.CutAfter(UINT64_MAX);
    tally_.exits.at(failure ? static_cast<std::size_t>(failure->code()) : 0)++;
    if (failure) {
      if (failure->code() != brelix::Exit::kLinkLost) Wrong(cut, failure->what());
      const bool there = fs::exists(target_);
      if (there != !before.empty()) Wrong(cut, there ? "there is half a backup" : "the old backup has gone");
      if (there && test::ReadFile(target_ / "manifest.json") != before) Wrong(cut, "the old backup was changed");
      CheckPartial(cut);
    }
    CheckWhole(cut, failure ? Take() : std::nullopt);
  }

  // What is left to go on with must not be taken for a backup, or for a phone.
  void CheckPartial(std::uint64_t cut) {
    const fs::path partial = target_.parent_path() / ("." + target_.filename().string() + ".partial") / "phone";
    if (!fs::exists(partial / "phone.db")) return;
    tally_.partials++;
    try {
      backup::PhoneFolder::OpenForReading(partial);
      Wrong(cut, "half a backup passes for a phone");
    } catch (const brelix::Failure&) {
    }
    if (backup::HasManifest(partial)) Wrong(cut, "half a backup has a manifest");
  }

  void CheckWhole(std::uint64_t cut, const std::optional<brelix::Failure>& failure) {
    if (failure) return Wrong(cut, fmt::format("could not be gone on with: {}", failure->what()));
    const nlohmann::json contents = Contents(target_);
    if (contents != expected_)
      return Wrong(cut, "another manifest: " + nlohmann::json::diff(expected_, contents).dump());
    const backup::Verdict verdict = backup::VerifyFolder(target_);
    if (!verdict.faults.empty()) Wrong(cut, verdict.faults.front().text);
  }

  void Wrong(std::uint64_t cut, const std::string& what) {
    tally_.failures++;
    fmt::print("cut: after {} bytes: {}\n", cut, what);
  }

  Tally& tally_;
  const test::TemporaryFolder scratch_;
  const fs::path target_;
  CutPhone phone_;
  backup::BackupOptions options_;
  nlohmann::json expected_;
};

// Runs the jobs, a process each as the phone is one a process. False when one found a fault or broke off.
bool RunAll(std::uint64_t step) {
  Tally& tally = SharedTally();
  for (unsigned job = 0; job < kJobs; job++) {
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no process for a job");
    if (child != 0) continue;
    try {
      Campaign(tally).Run(step, job);
    } catch (const std::exception& error) {
      tally.failures++;
      fmt::print("cut: job {}: {}\n", job, error.what());
    }
    std::exit(0);
  }
  bool ended_well = true;
  for (int status = 0; wait(&status) > 0;) ended_well = ended_well && WIFEXITED(status) && WEXITSTATUS(status) == 0;
  fmt::print("cut: a whole backup is {} bytes of answers; {} links cut; by exit code:", tally.bytes.load(),
             tally.runs.load());
  for (std::size_t code = 0; code < tally.exits.size(); code++)
    if (tally.exits[code] != 0) fmt::print(" {} x {}", tally.exits[code].load(), code);
  fmt::print("; {} halves looked at; {} gone on with; {} failures{}\n", tally.partials.load(), tally.went_on.load(),
             tally.failures.load(), ended_well ? "" : "; a job broke off");
  return ended_well && tally.failures == 0 && tally.partials != 0;
}

}  // namespace
}  // namespace campaign

int main(int argc, char** argv) {
  const long step = argc == 2 ? std::atol(argv[1]) : 0;
  if (argc > 2 || (argc == 2 && step <= 0)) {
    fmt::print(stderr, "usage: cut_campaign [STEP]\n");
    return 2;
  }
  signal(SIGPIPE, SIG_IGN);  // as brelix does: a lost link is an error of write()
  return campaign::RunAll(static_cast<std::uint64_t>(step)) ? 0 : 1;
}
