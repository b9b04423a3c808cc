// Which contact of a backup is which contact of a phone, and what is to be done so that the phone has all of them.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "desktop/contacts/Contact.h"

namespace brelix::backup {

// What is remembered of one contact, so that ten thousand with pictures need not be in memory.
struct ContactMark {
  uint32_t oid = 0;
  uint32_t position = 0;  // on the phone
  std::string content;    // a digest of all fields and the picture
  std::string fields;     // a digest of all fields
  bool picture = false;   // there is one
  std::string name;       // a digest of who it is; empty for a contact that does not say
  bool whole = true;      // one that is not finds its like only behind those that are
};

ContactMark MarkOf(const Contact& contact, uint32_t position);

// What is left alone cannot be told from what the phone has and does not show.
enum class Deed { kNothing, kChange, kMake, kLeave };

struct PlannedContact {
  Deed deed = Deed::kMake;
  ContactMark on_phone{};  // where there is a contact of the phone for it
};

// One for each contact of the backup. The phone's contact is taken for the same one when
//   1. it has the same content; each counts once, so that two alike in the backup are two alike on the phone;
//   2. or else, it has the same object id and the same name;
//   3. or else, it has the same fields and no picture: one that was made and did not get its picture is not made again;
//   4. or else, it is the only one left of its name, in the backup and on the phone.
// A contact of the phone that has an object id of the backup but another name is somebody else and stays as it is.
// Where the phone has contacts that nobody can read, `all_read` is false: what is found by 1 and 2 only is certain, and
// the others are left alone, since each of them may be one of those.
std::vector<PlannedContact> PlanContacts(std::span<const ContactMark> backup, std::span<const ContactMark> phone,
                                         bool all_read = true);

}  // namespace brelix::backup
