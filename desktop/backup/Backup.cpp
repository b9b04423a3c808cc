#include "desktop/backup/Backup.h"

#include <fmt/format.h>

#include "desktop/Text.h"
#include "desktop/backup/BackupFolder.h"

namespace brelix::backup {

namespace {

// Puts what is lost into the record of the run as well.
class RecordingWatch final : public Watch {
 public:
  RecordingWatch(BackupFolder& folder, const Domain& domain, Watch& user)
      : folder_(folder), domain_(domain), user_(user) {}
  void Expect(std::optional<uint64_t> total) override { user_.Expect(total); }
  void Advance(uint64_t by) override { user_.Advance(by); }
  void Notice(const std::string& text) override { user_.Notice(text); }
  void Lost(Problem problem) override {
    folder_.AddLost(domain_, problem);
    user_.Lost(std::move(problem));
  }

 private:
  BackupFolder& folder_;
  const Domain& domain_;
  Watch& user_;
};

void TakeDomain(Session& session, BackupFolder& folder, const Domain& domain, bool full, Watch& user) {
  folder.Clear(domain);
  RecordingWatch watch(folder, domain, user);
  const Taking taking{.session = session,
                      .folder = folder.phone(),
                      .watch = watch,
                      .before = folder.before(),
                      .full = full,
                      .progress = &folder.progress(),
                      .sync = [&] { folder.Sync(); }};
  try {
    domain.take(taking);
  } catch (const Failure& failure) {
    if (EndsEverything(failure)) throw;
    watch.Lost({std::string(domain.name), fmt::format("{} ended early: {}", domain.name, failure.what())});
  }
  folder.Sync();
  folder.SetComplete(domain);
}

// The library's errors name no file; a full disk is the usual one.
[[noreturn]] void Rethrow(const SQLite::Exception& error, const std::filesystem::path& target) {
  throw Failure(Exit::kLocalFile, fmt::format("{}: the backup cannot be written: {}; make room or choose another place",
                                              target.string(), error.what()));
}

// Nothing where there is no such backup of before, or none that can be read.
std::optional<Changes> ChangesOf(const Domain& domain, BackupFolder& folder) {
  if (folder.before() == nullptr || folder.before_manifest()->Find(domain.name) == nullptr) return std::nullopt;
  try {
    return Compare(domain, *folder.before(), folder.phone());
  } catch (const std::exception& error) {
    const auto* failure = dynamic_cast<const Failure*>(&error);
    if (failure != nullptr && failure->code() == Exit::kInterrupted) throw;
    folder.KeepBefore(fmt::format("its {} cannot be compared with what came now: {}", domain.name, error.what()));
    return std::nullopt;
  }
}

std::vector<DomainOutcome> Outcomes(const std::vector<const Domain*>& domains, BackupFolder& folder) {
  std::vector<DomainOutcome> outcomes;
  for (const Domain* domain : domains) {
    DomainOutcome outcome;
    outcome.entry.name = domain->name;
    outcome.entry.lost = folder.CountLost(domain->name);
    outcome.changes = ChangesOf(*domain, folder);
    // What did not come now may be there alone.
    if (outcome.entry.lost > 0 && outcome.changes && (outcome.changes->gone > 0 || outcome.changes->changed > 0))
      folder.KeepBefore(fmt::format("not all {} came, and it has {} that this one has not, or has otherwise",
                                    domain->name, outcome.changes->gone + outcome.changes->changed));
    outcomes.push_back(outcome);
  }
  return outcomes;
}

// What a phone of before told and does not tell now is still known.
PhoneIdentity WithWhatWasKnown(PhoneIdentity phone, const std::optional<Manifest>& before) {
  if (!before) return phone;
  for (std::string PhoneIdentity::*fact :
       {&PhoneIdentity::manufacturer, &PhoneIdentity::model, &PhoneIdentity::serial_number})
    if ((phone.*fact).empty()) phone.*fact = before->phone.*fact;
  return phone;
}

}  // namespace

// A fact that a phone does not tell is unknown and stops nothing.
PhoneIdentity AskIdentity(Session& session) {
  Client phone(session);
  PhoneIdentity identity;
  const auto try_to = [](const std::function<void()>& ask) {
    try {
      ask();
    } catch (const Failure& failure) {
      if (EndsEverything(failure)) throw;
    }
  };
  try_to([&] {
    const PermanentInfo info = phone.PermanentInfo();
    identity.manufacturer = CleanUtf8(info.manufacturer.value_or(""));
    identity.model = CleanUtf8(info.model.value_or(""));
  });
  try_to([&] { identity.serial_number = CleanUtf8(phone.SerialNumber().value_or("")); });
  try_to([&] { identity.subscriber_number = CleanUtf8(phone.SubscriberNumber().value_or("")); });
  return identity;
}

BackupOutcome MakeBackup(Session& session, const std::filesystem::path& target, const BackupOptions& options,
                         BackupWatch& watch) {
  try {
    BackupFolder folder(target, options.restart, [&](const std::string& text) { watch.Notice(text); });
    RunFacts facts{AskIdentity(session), {}};
    for (const Domain* domain : options.domains) facts.domains.emplace_back(domain->name);
    BackupOutcome outcome;
    outcome.went_on = folder.Begin(facts, options.same_phone, options.cancel);
    watch.Started(outcome.went_on, folder.Begun());
    for (const Domain* domain : options.domains) {
      if (folder.IsComplete(*domain)) continue;
      watch.Begin(*domain);
      TakeDomain(session, folder, *domain, options.full, watch);
      watch.End();
    }
    outcome.domains = Outcomes(options.domains, folder);
    outcome.manifest.tool_version = options.tool_version;
    outcome.manifest.phone = WithWhatWasKnown(facts.phone, folder.before_manifest());
    for (const DomainOutcome& domain : outcome.domains) outcome.manifest.domains.push_back(domain.entry);
    folder.Finish(outcome.manifest);
    for (size_t i = 0; i < outcome.domains.size(); i++) outcome.domains[i].entry = outcome.manifest.domains[i];
    return outcome;
  } catch (const SQLite::Exception& error) {
    Rethrow(error, target);
  } catch (const std::filesystem::filesystem_error& error) {
    throw Failure(Exit::kLocalFile, fmt::format("{}: {}", error.path1().string(), error.code().message()));
  }
}

}  // namespace brelix::backup
