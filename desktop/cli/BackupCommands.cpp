#include "desktop/cli/BackupCommands.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <memory>
#include <optional>

#include "desktop/Text.h"
#include "desktop/backup/Backup.h"
#include "desktop/backup/Verify.h"
#include "desktop/cli/Progress.h"

namespace brelix::cli {
namespace {

using backup::Domain;

std::string DomainNames() {
  std::string names;
  for (const Domain* domain : backup::Domains()) names += (names.empty() ? "" : ", ") + std::string(domain->name);
  return names;
}

const Domain* DomainOf(const std::string& name) {
  if (const Domain* domain = backup::FindDomain(name)) return domain;
  throw Failure(Exit::kUsage, fmt::format("there is no domain \"{}\"; there are {}", name, DomainNames()));
}

struct BackupWords {
  std::string folder;
  std::vector<std::string> only, without;
  backup::BackupOptions options;
};

std::vector<const Domain*> Chosen(const BackupWords& words) {
  std::vector<const Domain*> named, chosen;
  for (const std::string& name : words.only.empty() ? words.without : words.only) named.push_back(DomainOf(name));
  for (const Domain* domain : backup::Domains()) {
    const bool is_named = std::ranges::find(named, domain) != named.end();
    if (is_named == !words.only.empty() || (words.only.empty() && words.without.empty())) chosen.push_back(domain);
  }
  if (chosen.empty()) throw Failure(Exit::kUsage, "nothing is left to back up");
  return chosen;
}

// One bar a domain, and a line for everything that did not come.
class Teller final : public backup::BackupWatch {
 public:
  void Started(bool goes_on, const std::string& begun) override {
    started_ = true;
    if (goes_on) Complain(fmt::format("going on with the backup that was begun at {} and interrupted", begun));
  }
  void Begin(const Domain& domain) override {
    const bool counts_bytes = domain.name == "files";
    bar_.emplace(std::string(domain.name), std::nullopt,
                 counts_bytes ? Progress::Unit::kBytes : Progress::Unit::kItems);
  }
  void End() override { bar_.reset(); }
  void Expect(std::optional<uint64_t> total) override {
    if (bar_) bar_->SetTotal(total);
  }
  void Advance(uint64_t by) override {
    if (bar_) bar_->Advance(by);
  }
  void Lost(Problem problem) override { Complain(Printable(CleanUtf8(problem.why))); }
  void Notice(const std::string& text) override { Complain(Printable(CleanUtf8(text))); }
  // Whether there is something to go on with.
  bool started() const { return started_; }

 private:
  std::optional<Progress> bar_;
  bool started_ = false;
};

std::string Title(std::string_view domain) {
  std::string title(domain);
  title[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(title[0])));
  return title;
}

void TellOutcome(const backup::BackupOutcome& outcome, const std::string& folder, Report& report) {
  report.Add("Backup", "folder", folder);
  report.Add("Phone", "phone", outcome.manifest.phone.ForPeople());
  report.Add("Went on with an interrupted one", outcome.went_on ? "yes" : "no", "went_on", outcome.went_on);
  for (const backup::DomainOutcome& domain : outcome.domains) {
    std::string text = std::to_string(domain.entry.count);
    Json json = {{"count", domain.entry.count}, {"sha256", domain.entry.sha256}, {"lost", domain.entry.lost}};
    if (const auto& changes = domain.changes) {
      const bool known = domain.GoneIsKnown();
      text += fmt::format(" ({} added, {} changed, {})", changes->added, changes->changed,
                          known ? fmt::format("{} gone", changes->gone) : "what is gone is unknown");
      json["added"] = changes->added;
      json["changed"] = changes->changed;
      json["gone"] = known ? Json(changes->gone) : Json();
    }
    if (domain.entry.lost > 0) text += fmt::format(", {} lost", domain.entry.lost);
    report.Add(Title(domain.entry.name), text, domain.entry.name, json);
  }
  if (!outcome.manifest.before.empty())
    report.Add("Backup of before is kept as", "kept_before", outcome.manifest.before);
}

Exit Backup(Context& context, const BackupWords& words) {
  context.phone.Start();
  Teller teller;
  backup::BackupOptions options = words.options;
  options.domains = Chosen(words);
  options.tool_version = BRELIX_VERSION;
  options.cancel = context.options.cancel;
  try {
    const backup::BackupOutcome outcome = MakeBackup(context.session, words.folder, options, teller);
    TellOutcome(outcome, words.folder, context.report);
    uint64_t lost = 0;
    for (const backup::DomainOutcome& domain : outcome.domains) lost += domain.entry.lost;
    if (lost == 0) return Exit::kOk;
    Complain(fmt::format("{} items did not come; {} names them", lost, words.folder + "/" + backup::kManifestName));
    return Exit::kPartial;
  } catch (const Failure& failure) {
    if (!teller.started()) throw;
    throw Failure(failure.code(),
                  fmt::format("{}; the same command again goes on where this one stopped", failure.what()));
  }
}

constexpr size_t kMostSample = 1'000'000;

struct VerifyWords {
  std::string folder;
  size_t sample = 20;
};

// A check of a folder, and of its phone where one is given. What is found is told at once: whatever the phone does
// next, it is not forgotten.
class Verification {
 public:
  explicit Verification(const VerifyWords& words) : words_(words) {}

  void OfFolder(CancelFd cancel) {
    verdict_ = backup::VerifyFolder(words_.folder, cancel);
    TellNew();
  }

  void OfPhone(Context& context) {
    context.phone.Start();
    try {
      backup::VerifyAgainst(context.session, words_.folder, words_.sample, verdict_);
    } catch (const Failure&) {
      TellNew();
      throw;
    }
    TellNew();
  }

  Exit Report(cli::Report& report) const {
    report.Add("Backup", "folder", words_.folder);
    report.Add("Taken", "taken", verdict_.manifest.finished);
    report.Add("Phone", "phone", verdict_.manifest.phone.ForPeople());
    const bool lost = ReportLost(report);
    report.Add("Files checked", std::to_string(verdict_.files), "files", verdict_.files);
    if (verdict_.sampled) ReportPhone(report);
    Json list = Json::array();
    for (const backup::Fault& fault : verdict_.faults)
      list.push_back({{"what", fault.what}, {"path", CleanUtf8(fault.path)}, {"text", CleanUtf8(fault.text)}});
    report.Add("Differences", std::to_string(verdict_.faults.size()), "differences", list);
    if (!verdict_.faults.empty()) return Exit::kDiffers;
    return lost || !verdict_.not_read.empty() ? Exit::kPartial : Exit::kOk;
  }

 private:
  void TellNew() {
    for (; faults_told_ < verdict_.faults.size(); faults_told_++)
      Complain(Printable(CleanUtf8(verdict_.faults[faults_told_].text)));
    for (; problems_told_ < verdict_.not_read.size(); problems_told_++)
      Complain(Printable(CleanUtf8(verdict_.not_read[problems_told_].why)));
  }

  // Whether anything was.
  bool ReportLost(cli::Report& report) const {
    std::vector<std::string> texts;
    Json lost = Json::object();
    for (const backup::DomainEntry& entry : verdict_.manifest.domains) {
      if (entry.lost == 0) continue;
      texts.push_back(fmt::format("{} {}", CleanUtf8(entry.name), entry.lost));
      lost[CleanUtf8(entry.name)] = entry.lost;
    }
    report.Add("Lost when it was taken", texts.empty() ? "nothing" : fmt::format("{}", fmt::join(texts, ", ")), "lost",
               lost);
    return !texts.empty();
  }

  void ReportPhone(cli::Report& report) const {
    report.Add("Compared with the phone", std::to_string(*verdict_.sampled), "sampled", *verdict_.sampled);
    if (!verdict_.not_compared.empty())
      report.Add("Too large to compare", fmt::format("{}", fmt::join(verdict_.not_compared, ", ")), "not_compared",
                 verdict_.not_compared);
    Json list = Json::array();
    for (const Problem& problem : verdict_.not_read)
      list.push_back({{"item", CleanUtf8(problem.path)}, {"why", CleanUtf8(problem.why)}});
    report.Add("Not read from the phone", std::to_string(verdict_.not_read.size()), "not_read", list);
  }

  const VerifyWords words_;
  backup::Verdict verdict_;
  size_t faults_told_ = 0, problems_told_ = 0;
};

}  // namespace

void DeclareBackup(CLI::App& app, Action& chosen) {
  const auto words = std::make_shared<BackupWords>();
  CLI::App* command =
      app.add_subcommand("backup", "Take everything that the phone tells, into a folder that is a phone");
  command
      ->add_option("FOLDER", words->folder, "The backup; one of the same phone is replaced when the new one is whole")
      ->required();
  CLI::Option* only = command->add_option("--only", words->only, "Take only these: " + DomainNames())
                          ->delimiter(',')
                          ->allow_extra_args(false);
  command->add_option("--without", words->without, "Leave these out")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->excludes(only);
  command->add_flag("--full", words->options.full,
                    "Fetch every file, also those that look unchanged since the last backup");
  command->add_flag("--restart", words->options.restart, "Throw away what an interrupted run left, and begin anew");
  command->add_flag("--same-phone", words->options.same_phone,
                    "The phone is that of the backup that is there, although its serial number does not say so");
  command->callback([words, &chosen] {
    Chosen(*words);
    if (words->folder.empty()) throw Failure(Exit::kUsage, "backup: where to? The folder's name is empty");
    chosen = [words](Context& context) { return Backup(context, *words); };
  });
}

void DeclareVerify(CLI::App& app, Action& chosen) {
  const auto words = std::make_shared<VerifyWords>();
  CLI::App* command =
      app.add_subcommand("verify", "Check a backup against its manifest, and, with -d, against the phone");
  command->add_option("FOLDER", words->folder, "The backup")->required();
  command->add_option("--sample", words->sample, "So many files are fetched from the phone")
      ->check(CLI::Range(size_t{0}, kMostSample))
      ->capture_default_str();
  command->callback([words, &chosen] {
    const auto verification = std::make_shared<Verification>(*words);
    chosen = [verification](Context& context) {
      verification->OfPhone(context);
      return verification->Report(context.report);
    };
    chosen.before_phone = [verification](const Options& options) { verification->OfFolder(options.cancel); };
    chosen.without_device = [verification](const Options& options) {
      verification->OfFolder(options.cancel);
      Report report;
      const Exit outcome = verification->Report(report);
      WriteToStdout(options.json ? report.ForPrograms() : report.ForPeople());
      return outcome;
    };
  });
}

}  // namespace brelix::cli
