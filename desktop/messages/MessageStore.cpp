#include "desktop/messages/MessageStore.h"

#include <fmt/format.h>

#include "desktop/Failure.h"
#include "desktop/Stream.h"
#include "desktop/Text.h"
#include "desktop/Wire.h"

namespace brelix {
namespace {

constexpr size_t kLongestName = 255;  // UTF-16 units that an agent can hold
constexpr uint32_t kNoSuchName = 2;   // no account or folder of the selected name
constexpr uint32_t kNoMoreMessages = 2;
// Every unit is one sequence on the wire.
size_t Units(std::string_view wire) {
  size_t units = 0;
  for (const char c : wire) units += (static_cast<uint8_t>(c) & 0xC0) != 0x80;
  return units;
}

[[noreturn]] void NoSuchName(const char* what, const std::string& name, const char* command) {
  throw Failure(Exit::kPhoneError, fmt::format("the phone has no {} \"{}\"; names must be given exactly, see brelix "
                                               "messages {}",
                                               what, name, command));
}

}  // namespace

void MessageStore::Select(uint16_t command, const char* what, const std::string& name) {
  // Half a surrogate pair is as good as any other unit of a name.
  const std::string wire = SplitSurrogates(name);
  const auto complain = [&](const char* why) {
    throw Failure(Exit::kUsage, fmt::format("the {} \"{}\" cannot be selected: {}", what, name, why));
  };
  if (!WireUnits(wire) || JoinSurrogates(wire) != name || name.find('\0') != name.npos)
    complain("its name is not UTF-8");
  if (wire.empty()) complain("to the phone, an empty name means none");
  if (Units(wire) > kLongestName) complain("its name is longer than the 255 characters that an agent takes");
  Bytes data(wire.begin(), wire.end());
  data.push_back(0);
  session_.Answer(wire::kMessaging, command, data);
}

Bytes MessageStore::AccountsDocument() { return session_.Answer(wire::kMessaging, wire::kListAccounts); }

Names MessageStore::Accounts() { return ReadNames(DocumentText(AccountsDocument()), "accounts"); }

Bytes MessageStore::FoldersDocument(const std::string& account) {
  Select(wire::kSelectAccount, "account", account);
  Result result = session_.AskResult(wire::kMessaging, wire::kListFolders);
  if (result.code == kNoSuchName) NoSuchName("account", account, "accounts");
  if (result.code != 0) throw Failure(Exit::kPhoneError, "listing the folders: " + PhoneErrorText(result.code));
  return std::move(result.data);
}

Names MessageStore::Folders(const std::string& account) {
  return ReadNames(DocumentText(FoldersDocument(account)), "folders");
}

std::optional<uint32_t> MessageStore::SelectFolder(const std::string& account, const std::string& folder) {
  Select(wire::kSelectAccount, "account", account);
  Select(wire::kSelectFolder, "folder", folder);
  const Result result = session_.AskResult(wire::kMessaging, wire::kCountMessages);
  if (result.code == kNoSuchName) {
    Folders(account);  // complains when it is the account
    NoSuchName("folder", folder, "folders ACCOUNT");
  }
  if (result.code != 0) return std::nullopt;
  if (result.data.size() < 2)
    throw Failure(Exit::kProtocol, fmt::format("{}: the answer to counting messages has {} bytes instead of 6",
                                               session_.address(), result.data.size() + 4));
  return Read16(result.data, 0);
}

namespace {

// Messages are asked for ahead, as many as the phone says there are and the one that tells the end. Where it cannot
// say, as many again as have come.
class MessageReader {
 public:
  MessageReader(Session& session, std::optional<uint32_t> count, const ItemWalk<Message>& walk)
      : stream_(session), known_(count), total_(count.value_or(0)), walk_(walk) {}

  uint64_t Run() {
    while (!ended_) {
      while (!ended_ && (under_way_ == 0 || under_way_ <= (known_ ? total_ - number_ : number_))) Read();
      stream_.Finish();
    }
    return misses_.count();
  }

 private:
  void Read() {
    under_way_++;
    stream_.Ask(wire::kMessaging, wire::kNextMessage, {}, [this](const Result& read) {
      under_way_--;
      if (read.code == kNoMoreMessages) ended_ = true;
      if (ended_) return;
      if (++number_ > total_) total_ = known_ ? total_ + wire::kCountWraps : number_;
      walk_.step(total_);
      Take(read);
    });
  }

  void Take(const Result& read) {
    try {
      if (read.code != 0) throw Failure(Exit::kPhoneError, PhoneErrorText(read.code));
      ended_ = !walk_.visit({number_, ReadMessage(DocumentText(read.data)), DocumentText(read.data)});
      misses_.Read(DocumentText(read.data));
    } catch (const Failure& failure) {
      misses_.Miss(number_, failure, walk_.miss);
    }
  }

  Stream stream_;
  const bool known_;  // whether the phone could say how many there are
  uint64_t total_;
  const ItemWalk<Message>& walk_;
  Misses misses_{"message"};
  uint64_t number_ = 0;     // of the last message that was told of
  uint64_t under_way_ = 0;  // messages asked for and not answered
  bool ended_ = false;
};

}  // namespace

uint64_t WalkMessages(MessageStore& store, const std::string& account, const std::string& folder,
                      const ItemWalk<Message>& walk) {
  return MessageReader(store.session_, store.SelectFolder(account, folder), walk).Run();
}

}  // namespace brelix
