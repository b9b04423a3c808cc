#include "desktop/backup/SavedContacts.h"

#include "desktop/backup/ContactRow.h"
#include "handset/store/PimRows.h"

namespace brelix::backup {

SavedContacts::SavedContacts(PhoneFolder folder)
    : folder_(std::move(folder)),
      statement_(handset::PrepareContact(folder_.database())),
      oids_(handset::SelectOids(folder_.database(), handset::kContactsFolder)) {}

std::optional<SavedContact> SavedContacts::Load(uint32_t oid) {
  auto row = handset::SelectContact(statement_, oid);
  if (!row) return std::nullopt;
  row->picture = handset::SelectPicture(folder_.database(), oid);
  SavedContact saved;
  saved.contact = ContactOfRow(*row, saved.unreadable);
  return saved;
}

}  // namespace brelix::backup
