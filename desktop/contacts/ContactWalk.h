// Going through a phone's contacts: the wire reads them by position only, while people name them by object id.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>

#include "desktop/contacts/ContactsClient.h"

namespace brelix {

struct PlacedContact {
  uint32_t position = 0;
  Contact contact;
  std::string_view document{};  // what it was read from; lives as long as the call that tells of it
};

struct ContactWalk {
  // Told of every contact that can be read; false ends the walk.
  std::function<bool(PlacedContact)> visit;
  // Told of every contact that cannot, and why.
  std::function<void(const std::string&)> complain;
  // The same for programs, in its place where it is set.
  std::function<void(uint32_t position, const std::string& why)> miss{};
  // Told at every position how many there are.
  std::function<void(uint32_t count)> step = [](uint32_t) {};
};

// Returns how many could not be read. Throws when so many in a row cannot that nothing more will come.
size_t WalkContacts(ContactsClient& contacts, const ContactWalk& walk);

// Those of the object ids that the phone has, with where they stand. Stops as soon as all are found.
std::map<uint32_t, PlacedContact> FindContacts(ContactsClient& contacts, std::set<uint32_t> oids,
                                               const ContactWalk& walk);

// How a contact on the phone differs from what was written, in words; empty when it does not. The name it is filed
// under is the phone's own affair where none was given.
std::string WrittenOtherwise(const Contact& written, const Contact& read);

}  // namespace brelix
