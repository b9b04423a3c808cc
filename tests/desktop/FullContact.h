// A contact that has every field, each with a text of its own: FirstName is "first name".
#pragma once

#include <cctype>

#include "desktop/contacts/Contact.h"

namespace brelix::test {

inline Contact FullContact() {
  Contact contact;
  for (size_t i = 2; i < kContactFields; i++) {
    std::string& text = contact.fields[i];
    char before = 'A';
    for (const char c : ContactFieldNames()[i]) {
      const bool word =
          std::islower(static_cast<unsigned char>(before)) != 0 && std::islower(static_cast<unsigned char>(c)) == 0;
      if (word || (std::isdigit(static_cast<unsigned char>(before)) != 0)) text += ' ';
      text += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      before = c;
    }
  }
  contact[ContactField::kBirthday] = "1970-05-01";
  contact[ContactField::kAnniversary] = "1999-06-15";
  contact.picture = {0xFF, 0xD8, 0xFF, 0xE0};
  for (int i = 0; i < 3000; i++) contact.picture.push_back(static_cast<uint8_t>(i * 7 + i / 256));
  return contact;
}

}  // namespace brelix::test
