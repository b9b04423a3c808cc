#include "desktop/cli/RestoreCommand.h"

#include <algorithm>
#include <fmt/format.h>
#include <memory>
#include <optional>

#include "desktop/Text.h"
#include "desktop/backup/ContactPlan.h"
#include "desktop/backup/SavedContacts.h"
#include "desktop/backup/Verify.h"
#include "desktop/cli/ContactCommands.h"
#include "desktop/cli/ContactImport.h"
#include "desktop/cli/Progress.h"

namespace brelix::cli {
namespace {

using backup::ContactMark;
using backup::Deed;
using backup::PhoneFolder;
using backup::PlannedContact;
using backup::SavedContact;

struct RestoreWords {
  std::string folder;
  bool contacts = false, dry_run = false, allow_loss = false;
};

// Throws where the folder is no whole backup with contacts in it.
PhoneFolder OpenVerified(const std::string& folder, CancelFd cancel) {
  const backup::Verdict verdict = backup::VerifyFolder(folder, cancel);
  if (!verdict.faults.empty())
    throw Failure(Exit::kLocalFile, fmt::format("{}: not what its manifest says: {}; see brelix verify", folder,
                                                verdict.faults.front().text));
  const backup::DomainEntry* entry = verdict.manifest.Find("contacts");
  if (entry == nullptr) throw Failure(Exit::kLocalFile, fmt::format("{}: a backup without contacts", folder));
  if (entry->lost > 0)
    Complain(fmt::format("{}: {} contacts are missing from the backup or not whole; its manifest names them", folder,
                         entry->lost));
  PhoneFolder opened = PhoneFolder::OpenForReading(folder);
  opened.SetCancel(cancel);
  return opened;
}

class ContactRestore {
 public:
  ContactRestore(PhoneFolder folder, const RestoreWords& words)
      : saved_(std::move(folder)), words_(words), oids_(saved_.oids()) {}

  Exit Run(Context& context) {
    context.phone.Start();
    ContactsClient contacts(context.session);
    const std::vector<PlannedContact> plan = Plan(contacts);
    TellUnread(plan);
    last_position_ = contacts.Count();
    List list(context.options.json,
              {{"Contact", false, true}, {"Field"}, {"Before", false, true}, {"After", false, true}});
    try {
      Progress progress("restoring contacts", oids_.size());
      // New ones may move the others.
      for (const Deed deed : {Deed::kNothing, Deed::kChange, Deed::kMake})
        for (size_t i = 0; i < plan.size(); i++)
          if (plan[i].deed == deed) {
            Do(contacts, oids_[i], plan[i], list);
            progress.Advance();
          }
    } catch (const Failure&) {
      Complain(fmt::format("{} contacts were made and {} changed before it ended", made_, changed_));
      throw;
    }
    list.Finish();
    return Tell(context.report);
  }

 private:
  SavedContact Load(uint32_t oid) {
    auto saved = saved_.Load(oid);
    if (!saved) throw Failure(Exit::kLocalFile, fmt::format("{}: changed while it was read", words_.folder));
    return *std::move(saved);
  }

  // Where long texts may be cut, contacts that differ in what is cut off count as alike.
  Contact Sendable(Contact contact) const { return words_.allow_loss ? Shortened(std::move(contact)) : contact; }

  std::vector<PlannedContact> Plan(ContactsClient& contacts) {
    std::vector<ContactMark> saved, there;
    for (const uint32_t oid : oids_) {
      SavedContact contact = Load(oid);
      saved.push_back(backup::MarkOf(Sendable(std::move(contact.contact)), 0));
      saved.back().whole = contact.unreadable.empty();
    }
    Progress progress("reading the phone's contacts", std::nullopt);
    ContactWalk walk = WalkWith(progress);
    walk.visit = [&](const PlacedContact& placed) {
      there.push_back(backup::MarkOf(Sendable(placed.contact), placed.position));
      return true;
    };
    unread_ = WalkContacts(contacts, walk);
    return backup::PlanContacts(saved, there, unread_ == 0);
  }

  void TellUnread(const std::vector<PlannedContact>& plan) {
    if (unread_ == 0) return;
    const auto left = static_cast<size_t>(std::count_if(
        plan.begin(), plan.end(), [](const PlannedContact& planned) { return planned.deed == Deed::kLeave; }));
    failed_ += left;
    Complain(
        fmt::format("{} of the phone's contacts cannot be read, and may be some of the backup: nothing is made anew, "
                    "and {} of the backup were not looked after; run it again when the phone tells them",
                    unread_, left));
  }

  void Do(ContactsClient& contacts, uint32_t oid, const PlannedContact& planned, List& list) {
    if (planned.deed == Deed::kNothing) {
      same_++;
      return;
    }
    const SavedContact saved = Load(oid);
    const Contact sent = Sendable(saved.contact);
    if (const std::string against = Against(saved, sent); !against.empty()) {
      would_lose_++;
      return Failed(sent, fmt::format("not written: {}", against));
    }
    try {
      if (planned.deed == Deed::kMake)
        Make(contacts, sent, list);
      else
        Change(contacts, sent, planned.on_phone, list);
    } catch (const ContactFailure& failure) {
      Failed(sent, failure.what());
    }
  }

  static std::string Against(const SavedContact& saved, const Contact& sent) {
    std::string text;
    for (const std::string& name : saved.unreadable)
      text +=
          fmt::format("{}{} could not be read when it was saved, and would be cleared", text.empty() ? "" : "; ", name);
    const std::string reasons = ReasonsAgainst(sent);
    return text + (text.empty() || reasons.empty() ? "" : "; ") + reasons;
  }

  void Make(ContactsClient& contacts, const Contact& sent, List& list) {
    Show(list, sent, "", "", "a new contact");
    if (words_.dry_run) {
      made_++;
      return;
    }
    // A contact that was filed under nothing is so again.
    const uint32_t oid =
        contacts.Put(0, sent, sent[ContactField::kFileAs].empty() ? EmptyFileAs::kClear : EmptyFileAs::kKeep);
    made_++;
    last_position_++;
    if (!sent.picture.empty()) contacts.SetPicture(oid, sent.picture);
    CheckWritten(contacts, sent, oid, last_position_);
  }

  void Change(ContactsClient& contacts, const Contact& sent, const ContactMark& mark, List& list) {
    const Contact before = contacts.At(mark.position);
    if (before.oid != mark.oid) return Failed(sent, "the phone's contacts changed meanwhile; run it again");
    const auto changes = Changes(before, sent);
    for (const FieldChange& change : changes)
      Show(list, sent, NameOf(change.field), CleanUtf8(change.before), CleanUtf8(change.after));
    const bool other_picture = before.picture != sent.picture;
    if (other_picture)
      Show(list, sent, "Picture", fmt::format("{} bytes", before.picture.size()),
           fmt::format("{} bytes", sent.picture.size()));
    if (words_.dry_run) {
      changed_++;
      return;
    }
    if (!changes.empty()) {
      contacts.Put(mark.oid, sent, sent[ContactField::kFileAs].empty() ? EmptyFileAs::kClear : EmptyFileAs::kKeep);
      changed_++;
    }
    if (other_picture) contacts.SetPicture(mark.oid, sent.picture);
    const bool as_written = CheckWritten(contacts, sent, mark.oid, mark.position);
    if (changes.empty() && as_written) changed_++;
  }

  bool CheckWritten(ContactsClient& contacts, const Contact& sent, uint32_t oid, uint32_t position) {
    Contact read = contacts.At(position);
    if (read.oid != oid) read = NeedContact(contacts, oid).contact;
    const std::string otherwise = WrittenOtherwise(sent, read);
    if (!otherwise.empty())
      Failed(sent, fmt::format("written as contact {}, but the phone keeps it otherwise: {}", oid, otherwise));
    return otherwise.empty();
  }

  void Show(List& list, const Contact& contact, std::string_view field, const std::string& before,
            const std::string& after) const {
    if (!words_.dry_run) return;
    const std::string name = CleanUtf8(DisplayName(contact));
    list.Add({{"oid", contact.oid},
              {"contact", name},
              {"field", field.empty() ? Json() : Json(field)},
              {"before", before},
              {"after", after}},
             {name, std::string(field), before, after});
  }

  void Failed(const Contact& contact, const std::string& why) {
    failed_++;
    Complain(fmt::format("contact {} of the backup ({}): {}", contact.oid, CleanUtf8(DisplayName(contact)), why));
  }

  Exit Tell(Report& report) const {
    report.Add(words_.dry_run ? "Contacts to make" : "Contacts made", std::to_string(made_), "made", made_);
    report.Add(words_.dry_run ? "Contacts to change" : "Contacts changed", std::to_string(changed_), "changed",
               changed_);
    report.Add("Contacts that are the same", std::to_string(same_), "same", same_);
    report.Add("Contacts that failed", std::to_string(failed_), "failed", failed_);
    if (unread_ > 0) return Exit::kPartial;
    if (failed_ == 0) return Exit::kOk;
    return failed_ == would_lose_ && made_ + changed_ == 0 ? Exit::kWouldLoseData : Exit::kPartial;
  }

  backup::SavedContacts saved_;
  const RestoreWords words_;
  const std::vector<uint32_t> oids_;
  uint32_t last_position_ = 0;
  size_t unread_ = 0;  // of the phone
  // Made and changed are those that the phone has taken, in a dry run those that it would get.
  size_t made_ = 0, changed_ = 0, same_ = 0, failed_ = 0, would_lose_ = 0;
};

}  // namespace

void DeclareRestore(CLI::App& app, Action& chosen) {
  const auto words = std::make_shared<RestoreWords>();
  CLI::App* command = app.add_subcommand("restore", "Write contacts of a backup back to a phone");
  command->add_option("FOLDER", words->folder, "The backup")->required();
  command->add_flag("--contacts", words->contacts, "Write contacts; the protocol can write nothing else");
  command->add_flag("-n,--dry-run", words->dry_run, "Show what would change and change nothing");
  command->add_flag("--allow-loss", words->allow_loss, "Cut texts that are too long for the phone's agent");
  command->callback([words, &chosen] {
    if (!words->contacts)
      throw Failure(Exit::kUsage, "restore: say what to write back: --contacts; the protocol can write nothing else");
    const auto restore = std::make_shared<std::optional<ContactRestore>>();
    chosen = [restore](Context& context) { return (*restore)->Run(context); };
    chosen.before_phone = [restore, words](const Options& options) {
      restore->emplace(OpenVerified(words->folder, options.cancel), *words);
    };
  });
}

}  // namespace brelix::cli
