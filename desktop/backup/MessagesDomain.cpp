// The accounts of the phone's message store, their folders and messages.
#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <set>

#include "desktop/Text.h"
#include "desktop/backup/Domains.h"
#include "desktop/backup/ItemDomains.h"
#include "desktop/backup/MessageRow.h"
#include "desktop/messages/MessageStore.h"
#include "handset/store/MailDescription.h"
#include "handset/store/MailRows.h"

namespace brelix::backup {
namespace {

using handset::MailFolder;
using handset::MailMessage;

constexpr std::array<std::string_view, 5> kNotCarried = {
    "the body of every message (of a text message the subject is its text), attachments, and whether it was read",
    "recipients of incoming messages, senders of outgoing ones, and whether a recipient is a To, Cc or Bcc",
    "folders within folders, and accounts and folders that have no name, or one that another has before them",
    "parts of a second, and the order of messages that have no time",
    "texts that begin with a character whose number is a multiple of 256, and what follows a NUL in a text",
};

constexpr uint32_t kCountWraps = 65536;  // a phone tells the number of messages modulo this

std::string_view AsText(const Bytes& bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }
// The name, or which of those without one it is.
std::string ForPeople(const std::string& raw, size_t number) {
  return raw.empty() ? fmt::format("(no. {}, without a name)", number) : Printable(CleanUtf8(raw));
}

class MessagesTaker {
 public:
  explicit MessagesTaker(const Taking& taking)
      : taking_(taking),
        database_(taking.folder.database()),
        losses_(taking),
        store_(taking.session),
        batch_(database_),
        writer_(database_) {}

  void TakeAll() {
    Losses losses;
    const Bytes document = store_.AccountsDocument();
    std::set<std::string> seen;
    size_t number = 0;
    for (const WireName& account : NameRows(AsText(document), "accounts", losses)) {
      const int64_t id = handset::InsertAccount(database_, account.name);
      const std::string path = ForPeople(account.raw, ++number);
      if (CanBeSelected(path, account.raw, seen))
        losses_.Try(path, [&] { TakeAccount(id, path, JoinSurrogates(account.raw)); });
    }
    losses_.Tell("accounts", losses);
    batch_.Finish();
  }

 private:
  // Of several of one name, a phone opens the first.
  bool CanBeSelected(const std::string& path, const std::string& raw, std::set<std::string>& seen) const {
    if (raw.empty())
      losses_.Tell(path, "has no name by which it could be asked for; what it holds is left out");
    else if (!seen.insert(raw).second)
      losses_.Tell(path, "has the name of another before it, which hides it; what it holds is left out");
    else
      return true;
    return false;
  }

  void TakeAccount(int64_t account, const std::string& path, const std::string& name) {
    Losses losses;
    const Bytes document = store_.FoldersDocument(name);
    std::set<std::string> seen;
    size_t number = 0;
    for (const WireName& folder : NameRows(AsText(document), "folders", losses)) {
      MailFolder row;
      row.name = folder.name;
      const int64_t id = handset::InsertFolder(database_, account, 0, row);
      const std::string inner = fmt::format("{}/{}", path, ForPeople(folder.raw, ++number));
      if (CanBeSelected(inner, folder.raw, seen))
        losses_.Try(inner, [&] { TakeFolder(id, inner, name, JoinSurrogates(folder.raw)); });
    }
    losses_.Tell(path, losses);
  }

  void TakeFolder(int64_t id, const std::string& path, const std::string& account, const std::string& name) {
    const auto count = store_.SelectFolder(account, name);
    expected_ += count.value_or(0);
    taking_.watch.Expect(expected_);
    FallingTimes times;
    uint64_t seen = 0, kept = 0;
    const auto who = [&](uint64_t number) { return fmt::format("{} message {}", path, number); };
    ItemWalk<Message> walk;
    walk.visit = [&](const Walked<Message>& walked) {
      losses_.Try(who(walked.number), [&] {
        Losses losses;
        const MailMessage row = MessageRow(walked.document, losses);
        times.Next(row.delivered);
        writer_.Insert(id, row);
        batch_.Done(walked.document.size());
        losses_.Tell(who(walked.number), losses);
        kept++;
      });
      taking_.watch.Advance(1);
      return ++seen < kMostItems;
    };
    walk.miss = [&](uint64_t number, const Failure& why) {
      losses_.Tell(who(number), why.what());
      seen++;
      taking_.watch.Advance(1);
    };
    WalkMessages(store_, account, name, walk);
    if (seen >= kMostItems) losses_.Tell(path, fmt::format("the phone tells more than {} messages", kMostItems));
    times.Finish(losses_, path);
    KeepCount(id, path, count, store_.SelectFolder(account, name), kept);
  }

  // The number that the phone tells, even where it is not the true one.
  void KeepCount(int64_t id, const std::string& path, std::optional<uint32_t> before, std::optional<uint32_t> behind,
                 uint64_t kept) {
    if (before != behind)
      losses_.Tell(path, fmt::format("the number of messages changed from {} to {} while they were read; some may be "
                                     "missing",
                                     before.value_or(0), behind.value_or(0)));
    std::optional<uint32_t> reported;
    if (behind && *behind != kept % kCountWraps) reported = behind;
    handset::UpdateFolderCount(database_, id, behind.has_value(), reported);
    batch_.Done();
  }

  const Taking& taking_;
  SQLite::Database& database_;
  LossTeller losses_;
  MessageStore store_;
  Batch batch_;
  handset::MessageWriter writer_;
  uint64_t expected_ = 0;
};

// A name as a part of a record's key: "/" stands between them, and no part is empty.
std::string KeyPart(const std::optional<std::u16string>& name, int same) {
  std::string part;
  for (const char c : handset::ForPeople(name.value_or(u""))) {
    if (c == '/' || c == '%' || static_cast<unsigned char>(c) < 0x20)
      part += fmt::format("%{:02X}", static_cast<unsigned char>(c));
    else
      part += c;
  }
  if (part.empty()) part = "%";
  return same == 1 ? part : fmt::format("{}%%{:05}", part, same);
}

struct KeyedFolder {
  std::string key;
  int64_t id = 0;
  bool is_account = false;
};

// The key of an account or a folder sorts before those of what it holds, and no key of another comes between.
class FolderKeys {
 public:
  explicit FolderKeys(const SQLite::Database& database) : database_(database) {
    std::map<std::string, int> seen;
    for (const int64_t account : handset::SelectAccountIds(database)) {
      const auto found = handset::SelectAccount(database, account);
      const std::string key = Next(seen, found->name);
      keys_.push_back({key, account, true});
      AddFolders(account, 0, key);
    }
    std::sort(keys_.begin(), keys_.end(), [](const auto& a, const auto& b) { return a.key < b.key; });
  }

  const std::vector<KeyedFolder>& keys() const { return keys_; }

 private:
  static std::string Next(std::map<std::string, int>& seen, const std::optional<std::u16string>& name) {
    return KeyPart(name, ++seen[KeyPart(name, 1)]);
  }
  void AddFolders(int64_t account, int64_t parent, const std::string& path) {
    std::map<std::string, int> seen;
    for (const int64_t id : handset::SelectFolderIds(database_, account, parent)) {
      const std::string inner = path + "/" + Next(seen, handset::SelectFolder(database_, id)->name);
      keys_.push_back({inner + "//", id, false});
      AddFolders(account, id, inner);
    }
  }

  const SQLite::Database& database_;
  std::vector<KeyedFolder> keys_;
};

nlohmann::json PrintHead(const SQLite::Database& database, const KeyedFolder& folder) {
  handset::MailAccount account;
  if (folder.is_account)
    account = *handset::SelectAccount(database, folder.id);
  else
    account.folders = {*handset::SelectFolder(database, folder.id)};
  const nlohmann::json printed = handset::PrintAccounts({account})[0];
  nlohmann::json head = folder.is_account ? printed : printed["folders"][0];
  head.erase("folders");
  head.erase("messages");
  return head;
}

void ForEachMessage(const SQLite::Database& database, const KeyedFolder& folder, const RecordSink& sink) {
  SQLite::Statement ids(database, "SELECT id FROM mail_message WHERE folder = ? ORDER BY delivery_time, id");
  ids.bind(1, folder.id);
  std::string last;
  int same = 0;
  while (ids.executeStep()) {
    const MailMessage message = handset::SelectWholeMessage(database, ids.getColumn(0).getInt64());
    std::string time = TimeKey(message.delivered);
    same = time == last ? same + 1 : 1;
    sink({fmt::format("{}{} {:05}", folder.key, time, same), handset::PrintMessage(message)});
    last = std::move(time);
  }
}

void ForEach(const PhoneFolder& folder, const RecordSink& sink) {
  const FolderKeys folders(folder.database());
  for (const KeyedFolder& keyed : folders.keys()) {
    sink({keyed.key, PrintHead(folder.database(), keyed)});
    if (!keyed.is_account) ForEachMessage(folder.database(), keyed, sink);
  }
}

}  // namespace

const Domain kMessagesDomain = {
    .name = "messages",
    .item = "message",
    .not_carried = kNotCarried,
    .clear = "DELETE FROM mail_recipient; DELETE FROM mail_message; DELETE FROM mail_folder; DELETE FROM mail_account",
    .take = [](const Taking& taking) { MessagesTaker(taking).TakeAll(); },
    .for_each = ForEach};

}  // namespace brelix::backup
