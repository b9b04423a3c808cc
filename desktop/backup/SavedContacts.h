// The contacts of a backup, as a desktop would read them from its phone.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "desktop/backup/PhoneFolder.h"
#include "desktop/contacts/Contact.h"

namespace brelix::backup {

// A contact of the backup, and what of it nobody could read.
struct SavedContact {
  Contact contact;
  std::vector<std::string> unreadable;
};

class SavedContacts {
 public:
  // Throws a local-file failure that names the folder for what cannot be read, as Load does.
  explicit SavedContacts(PhoneFolder folder);

  // Rising.
  const std::vector<uint32_t>& oids() const { return oids_; }
  // With its picture. Nothing when it is not there any more.
  std::optional<SavedContact> Load(uint32_t oid);

 private:
  PhoneFolder folder_;
  SQLite::Statement statement_;
  std::vector<uint32_t> oids_;
};

}  // namespace brelix::backup
