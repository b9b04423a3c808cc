// Contacts as vCards.
#pragma once

#include <string>

#include "desktop/contacts/Contact.h"
#include "desktop/vcard/VCardLine.h"

namespace brelix {

// One card, 3.0 or 4.0. VCardReader makes the same contact of it, field by field and picture, but for the object id.
std::string WriteVCard(const Contact& contact, VCardVersion version);

}  // namespace brelix
