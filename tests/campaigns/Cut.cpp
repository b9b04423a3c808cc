// A backup over a link that is cut: after every byte of the phone's answers up to the first 20,000, then after every
// 997th. What is on the disk is the old backup or none, and something to go on with; going on makes the same backup as
// a run that nobody disturbed.
//
//     cut_campaign           all of it
//     cut_campaign STEP      after every STEP-th byte only
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fmt/format.h>
#include <map>

#include "desktop/backup/Backup.h"
#include "desktop/backup/Verify.h"
#include "tests/campaigns/Child.h"
#include "tests/campaigns/CutPhone.h"
#include "tests/support/TemporaryFolder.h"

namespace campaign {
namespace {

namespace fs = std::filesystem;
namespace backup = brelix::backup;

constexpr std::uint64_t kEachUpTo = 20000;
constexpr std::uint64_t kThenEvery = 997;

class Silent final : public backup::BackupWatch {
 public:
  void Started(bool, const std::string&) override {}
  void Begin(const backup::Domain&) override {}
  void End() override {}
  void Expect(std::optional<uint64_t>) override {}
  void Advance(uint64_t) override {}
  void Lost(brelix::Problem) override {}
  void Notice(const std::string&) override {}
};

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
  Campaign() : scratch_(Place()), target_(scratch_.Path() / "backup"), phone_(MakePhone(scratch_.Path())) {
    for (const backup::Domain* domain : backup::Domains()) options_.domains.push_back(domain);
    options_.tool_version = "campaign";
  }

  bool Run(std::uint64_t step) {
    const std::optional<brelix::Failure> failure = Take();
    if (failure) throw *failure;
    expected_ = Contents(target_);
    const std::uint64_t total = phone_.Arrived();
    fmt::print("cut: a whole backup is {} bytes of answers\n", total);
    std::uint64_t runs = 0;
    for (std::uint64_t cut = 0; cut <= total; cut += step != 0 ? step : cut < kEachUpTo ? 1 : kThenEvery) {
      CutOnce(cut, runs++ % 2 == 0);
      if (runs % 1000 == 0) fmt::print("cut: {} runs, at byte {}\n", runs, cut);
      std::fflush(stdout);
    }
    fmt::print("cut: {} links cut; by exit code:", runs);
    for (const auto& [code, times] : exits_) fmt::print(" {} x {}", times, code);
    fmt::print("; {} gone on with; {} failures\n", went_on_, failures_);
    return failures_ == 0;
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
    Silent silent;
    try {
      brelix::Session session(brelix::Connect(phone_.Address(), brelix::Clock::now() + std::chrono::seconds(10), -1),
                              {});
      brelix::Client(session).Start();
      const backup::BackupOutcome outcome = backup::MakeBackup(session, target_, options_, silent);
      if (outcome.went_on) went_on_++;
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
    exits_[failure ? static_cast<int>(failure->code()) : 0]++;
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
    const fs::path partial = target_.parent_path() / ("." + target_.filename().string() + ".partial");
    if (!fs::exists(partial / "phone.db")) return;
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
    failures_++;
    fmt::print("cut: after {} bytes: {}\n", cut, what);
  }

  const test::TemporaryFolder scratch_;
  const fs::path target_;
  CutPhone phone_;
  backup::BackupOptions options_;
  nlohmann::json expected_;
  std::map<int, std::uint64_t> exits_;
  std::uint64_t went_on_ = 0, failures_ = 0;
};

}  // namespace
}  // namespace campaign

int main(int argc, char** argv) {
  const long step = argc == 2 ? std::atol(argv[1]) : 0;
  if (argc > 2 || (argc == 2 && step <= 0)) {
    fmt::print(stderr, "usage: cut_campaign [STEP]\n");
    return 2;
  }
  signal(SIGPIPE, SIG_IGN);  // as brelix does: a lost link is an error of write()
  return campaign::Campaign().Run(static_cast<std::uint64_t>(step)) ? 0 : 1;
}
