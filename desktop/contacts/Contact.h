// A contact as a phone keeps it: 55 fields, all of them texts to us, and a picture.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "desktop/FrameCodec.h"

namespace brelix {

enum class ContactField : uint8_t {
#define CONTACT_FIELD(name) k##name,
#include "desktop/contacts/ContactFields.def"
#undef CONTACT_FIELD
};

inline constexpr size_t kContactFields = static_cast<size_t>(ContactField::kBody) + 1;
static_assert(kContactFields == 55);

// The names of all fields, in the phone's order: index i is the name of ContactField(i).
std::span<const std::string_view> ContactFieldNames();
std::string_view NameOf(ContactField field);
std::optional<ContactField> ContactFieldNamed(std::string_view name);
inline bool IsDate(ContactField field) { return field <= ContactField::kAnniversary; }

struct Contact {
  uint32_t oid = 0;
  // UTF-8, empty for none; a lone surrogate that the phone holds is kept as its three bytes. Dates have the form
  // "2009-07-12", with "T13:45:01" behind it where the time of day is not midnight; they have no time zone.
  std::array<std::string, kContactFields> fields;
  Bytes picture;  // a picture file as it is, empty for none

  std::string& operator[](ContactField field) { return fields[static_cast<size_t>(field)]; }
  const std::string& operator[](ContactField field) const { return fields[static_cast<size_t>(field)]; }
  bool operator==(const Contact&) const = default;
};

// Title, first, middle, last name and suffix; where there is none of them, company or whatever else tells who it is.
std::string PersonName(const Contact& contact);
// The name it is filed under, or else PersonName.
std::string DisplayName(const Contact& contact);

// The form above from any date that people and vCards write: "2009-07-12", "20090712", a time behind a T or a blank,
// with or without ":" and seconds. Nothing for a day that does not exist or that a phone cannot hold (before 1601,
// after 4500), a zone, or anything else.
std::optional<std::string> NormalDate(std::string_view text);

struct FieldChange {
  ContactField field;
  std::string before, after;
};

// The fields in which two contacts differ, in the phone's order.
std::vector<FieldChange> Changes(const Contact& before, const Contact& after);

}  // namespace brelix
