// Contacts out of vCards of versions 2.1, 3.0 and 4.0, one after the other however long the file is.
//
// What a phone has no field for is told, property by property, and never dropped in silence; only what a card says of
// itself (when it was made, by what, its identifier) is left out without a word.
#pragma once

#include <istream>
#include <optional>
#include <string>
#include <vector>

#include "desktop/contacts/Contact.h"
#include "desktop/vcard/VCardScanner.h"

namespace brelix {

struct ImportedCard {
  size_t line = 0;                   // of the file
  Contact contact;                   // without an object id
  std::vector<std::string> remarks;  // what could not be taken over, each with its line
  std::optional<std::string> error;  // set when the card as a whole is not to be used
};

class VCardReader {
 public:
  // The file's name is for messages only.
  VCardReader(std::istream& in, std::string file) : scanner_(in, std::move(file)) {}
  // Nothing at the end of the file. Throws a local-file failure when the file as such is unusable from here on.
  std::optional<ImportedCard> Next();

 private:
  VCardScanner scanner_;
};

}  // namespace brelix
