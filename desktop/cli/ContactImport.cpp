#include "desktop/cli/ContactImport.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>

#include "desktop/Text.h"
#include "desktop/Wire.h"
#include "desktop/cli/ContactCommands.h"
#include "desktop/contacts/ContactJson.h"

namespace brelix::cli {
namespace {

std::ifstream Opened(const std::string& path) {
  std::error_code error;
  if (std::filesystem::is_directory(path, error))
    throw Failure(Exit::kLocalFile, fmt::format("{}: is a folder, not a vCard file", path));
  std::ifstream in(path, std::ios::binary);
  if (!in) throw Failure(Exit::kLocalFile, fmt::format("{}: cannot be read: {}", path, std::strerror(errno)));
  const auto size = std::filesystem::is_regular_file(path, error) ? std::filesystem::file_size(path, error) : 0;
  if (size > kMaxVCardFile)
    throw Failure(
        Exit::kLocalFile,
        fmt::format("{}: the file has {}, more than the {} that a vCard file may have; divide it", path,
                    ReadableSize(static_cast<int64_t>(size)), ReadableSize(static_cast<int64_t>(kMaxVCardFile))));
  return in;
}

}  // namespace

std::string ReasonsAgainst(const Contact& contact) {
  std::string text;
  for (const Obstacle& obstacle : ObstaclesTo(contact))
    text += fmt::format("{}{} {}{}", text.empty() ? "" : "; ", obstacle.what, obstacle.reason,
                        obstacle.too_long ? " (--allow-loss cuts it)" : "");
  if (contact.picture.size() > wire::kMaxPicture)
    text += fmt::format("{}the picture has {} bytes of {}", text.empty() ? "" : "; ", contact.picture.size(),
                        wire::kMaxPicture);
  return text;
}

ContactImport::ContactImport(std::string path, bool allow_loss) : path_(std::move(path)), allow_loss_(allow_loss) {
  ForEach([](size_t, Contact&) {}, true);
  if (cards_ == 0) throw Failure(Exit::kLocalFile, fmt::format("{}: holds no vCard", path_));
  if (failed_ == cards_)
    throw Failure(Exit::kWouldLoseData,
                  fmt::format("{}: none of the {} cards can be written; nothing was sent", path_, cards_));
  unusable_ = failed_;
}

void ContactImport::Failed(size_t number, const std::string& why) {
  failed_++;
  Complain(fmt::format("{}: card {}: {}", path_, number, why));
}

void ContactImport::ForEach(const std::function<void(size_t, Contact&)>& use, bool complain) {
  std::ifstream in = Opened(path_);
  VCardReader reader(in, path_);
  for (cards_ = 0; auto card = reader.Next();) {
    const size_t number = ++cards_;
    const std::string who = fmt::format("card {} (line {})", number, card->line);
    if (complain)
      for (const std::string& remark : card->remarks) Complain(fmt::format("{}: {}: {}", path_, who, remark));
    if (allow_loss_) Shorten(card->contact, number, complain);
    const std::string against = card->error ? *card->error : ReasonsAgainst(card->contact);
    if (against.empty())
      use(number, card->contact);
    else if (complain)
      Failed(number, fmt::format("not taken: {}", against));
  }
}

void ContactImport::Shorten(Contact& contact, size_t number, bool complain) const {
  const Contact whole = contact;
  contact = Shortened(std::move(contact));
  if (!complain) return;
  for (const FieldChange& cut : Changes(whole, contact))
    Complain(fmt::format("{}: card {}: {} is cut from {} to {} bytes", path_, number, NameOf(cut.field),
                         cut.before.size(), cut.after.size()));
}

Exit ContactImport::Show(bool json) {
  List list(json, {{"Card", true}, {"Field"}, {"Text", false, true}});
  ForEach(
      [&](size_t number, Contact& contact) {
        Json object = ToJson(contact);
        object.erase("oid");
        if (json) return list.Add(object, {});
        for (const FieldChange& change : Changes(Contact(), contact))
          list.Add({}, {std::to_string(number), std::string(NameOf(change.field)), CleanUtf8(change.after)});
        if (!contact.picture.empty())
          list.Add({}, {std::to_string(number), "Picture", fmt::format("{} bytes", contact.picture.size())});
      },
      false);
  list.Finish();
  return Outcome();
}

Exit ContactImport::Run(Context& context) {
  context.phone.Start();
  {
    ContactsClient contacts(context.session);
    last_position_ = contacts.Count();
    Progress progress("writing contacts", cards_ - unusable_);
    try {
      ForEach(
          [&](size_t number, Contact& contact) {
            Make(contacts, number, contact);
            progress.Advance();
          },
          false);
    } catch (const Failure&) {
      Complain(fmt::format("{} of {} contacts were made before it ended", made_, cards_ - unusable_));
      throw;
    }
  }
  CheckLate(context);
  context.report.Add("Contacts made", std::to_string(made_), "made", made_);
  context.report.Add("Cards not taken", std::to_string(failed_), "failed", failed_);
  return Outcome();
}

void ContactImport::Make(ContactsClient& contacts, size_t number, Contact& contact) {
  try {
    contact.oid = contacts.Put(0, contact, EmptyFileAs::kKeep);
    made_++;
    last_position_++;
    if (!contact.picture.empty()) contacts.SetPicture(contact.oid, contact.picture);
    if (!ReadBack(contacts, number, contact)) unread_.emplace(contact.oid, Unread{number, contact});
  } catch (const ContactFailure& failure) {
    Failed(number, contact.oid == 0 ? failure.what()
                                    : fmt::format("became contact {}, but not whole: {}", contact.oid, failure.what()));
  }
}

// A new contact usually stands last. False when it does not and must be looked for.
bool ContactImport::ReadBack(ContactsClient& contacts, size_t number, const Contact& contact) {
  Contact read;
  try {
    read = contacts.At(last_position_);
  } catch (const ContactFailure&) {
    return false;
  }
  if (read.oid != contact.oid) return false;
  if (const std::string otherwise = WrittenOtherwise(contact, read); !otherwise.empty())
    Failed(number, fmt::format("became contact {}, but the phone keeps it otherwise: {}", contact.oid, otherwise));
  return true;
}

void ContactImport::CheckLate(Context& context) {
  if (unread_.empty()) return;
  ContactsClient contacts(context.session);
  Progress progress("comparing contacts", std::nullopt);
  ContactWalk walk = WalkWith(progress);
  walk.visit = [&](const PlacedContact& placed) {
    const auto entry = unread_.extract(placed.contact.oid);
    if (entry.empty()) return true;
    if (const std::string otherwise = WrittenOtherwise(entry.mapped().contact, placed.contact); !otherwise.empty())
      Failed(entry.mapped().number,
             fmt::format("became contact {}, but the phone keeps it otherwise: {}", entry.key(), otherwise));
    return !unread_.empty();
  };
  WalkContacts(contacts, walk);
  for (const auto& [oid, unread] : unread_)
    Failed(unread.number, fmt::format("became contact {}, but the phone does not show it", oid));
}

}  // namespace brelix::cli
