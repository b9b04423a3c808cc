// Contacts for programs.
#pragma once

#include <nlohmann/json.hpp>

#include "desktop/contacts/Contact.h"

namespace brelix {

// The object id as "oid", every field under its own name, null where it is empty, and "picture_bytes". What is no
// character becomes U+FFFD.
nlohmann::ordered_json ToJson(const Contact& contact);
// The same, with the picture as base64 under "Picture".
nlohmann::ordered_json ToJsonWithPicture(const Contact& contact);

}  // namespace brelix
