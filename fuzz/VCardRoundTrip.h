// What both targets of contacts demand: a contact comes back from either version of a vCard as it went in.
#pragma once

#include <cstdlib>
#include <sstream>

#include "desktop/vcard/VCardReader.h"
#include "desktop/vcard/VCardWriter.h"

namespace fuzz {

inline void NeedSameFromAVCard(const brelix::Contact& contact) {
  for (const brelix::VCardVersion version : {brelix::VCardVersion::k30, brelix::VCardVersion::k40}) {
    std::istringstream in(brelix::WriteVCard(contact, version));
    const auto card = brelix::VCardReader(in, "written").Next();
    if (!card || card->error || !card->remarks.empty()) std::abort();
    if (!brelix::Changes(contact, card->contact).empty() || contact.picture != card->contact.picture) std::abort();
  }
}

}  // namespace fuzz
