// The phone's message store: accounts, their folders, and the messages of a folder from the newest to the oldest.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "desktop/ItemWalk.h"
#include "desktop/Session.h"
#include "desktop/messages/Message.h"

namespace brelix {

class MessageStore {
 public:
  // The session is open. Names are UTF-8, in which half a surrogate pair is three bytes of its own.
  explicit MessageStore(Session& session) : session_(session) {}

  Names Accounts();
  Bytes AccountsDocument();
  // The folders at the top of the account. Throws a phone-error failure when there is no account of that very name.
  Names Folders(const std::string& account);
  Bytes FoldersDocument(const std::string& account);
  // Makes the folder the one whose messages are read, from the newest on; the number of its messages modulo 65536,
  // nothing when the phone cannot tell it. Throws a usage failure for a name that cannot be said to a phone.
  std::optional<uint32_t> SelectFolder(const std::string& account, const std::string& folder);

 private:
  friend uint64_t WalkMessages(MessageStore& store, const std::string& account, const std::string& folder,
                               const ItemWalk<Message>& walk);

  void Select(uint16_t command, const char* what, const std::string& name);

  Session& session_;
};

// All messages of a folder from the newest to the oldest, after selecting it. Returns how many could not be read.
// Throws when so many in a row cannot that nothing more will come.
uint64_t WalkMessages(MessageStore& store, const std::string& account, const std::string& folder,
                      const ItemWalk<Message>& walk);

}  // namespace brelix
