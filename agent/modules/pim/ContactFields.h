// What a contact consists of, once: each element of the document with the property behind it. Filling a record,
// writing, reading and applying all go by these tables.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/Contact.h"
#include "platform/Item.h"

namespace contact {

struct DateField {
  std::string_view element;
  ce::HRESULT (ce::IContact::*get)(ce::DATE* date);
  ce::HRESULT (ce::IContact::*put)(ce::DATE date);
};

// Both are always written, behind the oid and before the first text.
inline constexpr DateField kDates[] = {
    {"Birthday", &ce::IContact::get_Birthday, &ce::IContact::put_Birthday},
    {"Anniversary", &ce::IContact::get_Anniversary, &ce::IContact::put_Anniversary},
};

struct TextField {
  std::uint8_t place;  // in the document; the oid and the dates have 1 to 3
  std::string_view element;
  // A property of IContact, or of IItem by its id.
  ce::HRESULT (ce::IContact::*get)(ce::BSTR* text);
  ce::HRESULT (ce::IContact::*put)(ce::BSTR text);
  ce::CEPROPID id;
};

// The properties of IContact come first, in the order in which a contact is read and changed; then those by id, in the
// order in which they are asked for.
inline constexpr std::size_t kPropertyCount = 45;
inline constexpr std::size_t kByIdCount = 8;
inline constexpr std::size_t kTextCount = kPropertyCount + kByIdCount;
extern const std::array<TextField, kTextCount> kTexts;

// Indexes of kTexts in the order of the document.
extern const std::array<std::uint8_t, kTextCount> kWriteOrder;

// Indexes of kTexts that need care of their own.
inline constexpr std::size_t kFileAs = 43;
inline constexpr std::size_t kBody = 44;

inline constexpr std::string_view kRoot = "contactentry";
inline constexpr std::string_view kPicture = "Picture";

}  // namespace contact
