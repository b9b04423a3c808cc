// Contacts as `contactentry` documents, as docs/protocol.md describes them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "desktop/contacts/Contact.h"

namespace brelix {

// Throws a protocol failure for a document that is not whole, has no object id, a date that is none or a picture that
// is not base64.
Contact ReadContactDocument(std::string_view document);

// What becomes of the phone's name to file a contact under when ours is empty. Every other field that is empty is
// cleared.
enum class EmptyFileAs { kKeep, kClear };

// The document that makes a phone's contact this one, without its picture, which travels by itself.
std::string WriteContactDocument(const Contact& contact, EmptyFileAs file_as);

// Why a contact cannot be written to a phone as it is.
struct Obstacle {
  std::string what;  // a field's name
  std::string reason;
  bool too_long = false;  // shortening it would help
};

std::vector<Obstacle> ObstaclesTo(const Contact& contact);

// The same contact with every text that is too long cut behind the last character that fits.
Contact Shortened(Contact contact);

}  // namespace brelix
