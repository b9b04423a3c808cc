// Contacts of the wire as a phone's database keeps them.
#pragma once

#include <string_view>

#include "desktop/backup/RawDocument.h"
#include "desktop/contacts/Contact.h"
#include "handset/store/Contact.h"

namespace brelix::backup {

// What an agent answers of this contact is `document` again, but for the losses. Throws a protocol failure when there
// is no contact in it, or no object id.
handset::Contact ContactRow(std::string_view document, Losses& losses);

// The other way: the contact that a desktop reads from a phone with this row. Texts that a phone shows as empty are
// empty here too; their names are added to `unreadable`.
Contact ContactOfRow(const handset::Contact& row, std::vector<std::string>& unreadable);

}  // namespace brelix::backup
