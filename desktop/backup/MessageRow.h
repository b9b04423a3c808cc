// What a phone tells of accounts, folders and messages, as its database keeps it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "desktop/backup/RawDocument.h"
#include "handset/store/Description.h"

namespace brelix::backup {

// What an agent answers of this message is `document` again, but for the losses. Throws a protocol failure when it is
// no message's.
handset::MailMessage MessageRow(std::string_view document, Losses& losses);

// A name as the phone has it, and as it stands in documents and requests.
struct WireName {
  std::u16string name;
  std::string raw;
};
// The names of an `accounts` or `folders` document, in the phone's order.
std::vector<WireName> NameRows(std::string_view document, std::string_view root, Losses& losses);

}  // namespace brelix::backup
