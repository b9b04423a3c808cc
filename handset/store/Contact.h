// A contact as the phone keeps it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "handset/Text.h"
#include "platform/Item.h"

namespace handset {

enum class ContactText : std::uint8_t {
#define CONTACT_TEXT(name) name,
#define CONTACT_EXTENDED(name, id) name,
#include "handset/store/ContactTexts.def"
};

struct ContactTextInfo {
  std::string_view name;  // of the property, of its column and in a description
  ce::CEPROPID id;        // 0 for a property of the object model
};
inline constexpr auto kContactTexts = std::to_array<ContactTextInfo>({
#define CONTACT_TEXT(name) {#name, 0},
#define CONTACT_EXTENDED(name, id) {#name, id},
#include "handset/store/ContactTexts.def"
});

struct Contact {
  using Texts = std::array<std::optional<std::u16string>, kContactTexts.size()>;

  std::optional<std::u16string>& operator[](ContactText text) { return texts[static_cast<std::size_t>(text)]; }
  const std::optional<std::u16string>& operator[](ContactText text) const {
    return texts[static_cast<std::size_t>(text)];
  }

  std::uint32_t oid = 0;  // 0: not stored yet
  // Days since 30 December 1899.
  std::optional<double> birthday;
  std::optional<double> anniversary;
  // Absent: an empty text; of FileAs, the phone makes one up; of Body, reading answers S_FALSE; of an extended text,
  // the property is not there.
  Texts texts = [] {
    Texts none;
    none[static_cast<std::size_t>(ContactText::Body)] = u"";
    return none;
  }();
  Bytes picture;

  // How the phone behaves about this contact: what GetProps answers when all went well, and whether a picture without
  // bytes can be opened for reading.
  std::uint32_t getPropsAnswers = 0;
  bool emptyPictureOpens = false;
};

}  // namespace handset
