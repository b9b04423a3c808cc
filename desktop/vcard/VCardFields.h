// Where the fields of a contact stand in a vCard: what writer and reader share.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "desktop/contacts/Contact.h"
#include "desktop/vcard/VCardLine.h"

namespace brelix {

// Fields that a card tells apart only by their order. Where an earlier one is empty, the type says which it
// is.
struct VCardKind {
  std::string_view property;
  std::string_view types;    // of 3.0, with commas
  std::string_view types40;  // of 4.0, which gave up some
  std::span<const ContactField> fields;
};
std::span<const VCardKind> VCardKinds();
const VCardKind& KindBeginningWith(ContactField field);
// What a telephone number of another program's card is for; null where its types do not say.
const VCardKind* TelephoneKind(const VCardLine& line);

// The three addresses: street, city, state, postal code, country.
struct VCardAddress {
  std::string_view type;
  ContactField street;
};
std::span<const VCardAddress> VCardAddresses();

// Properties that hold one field as a text.
struct VCardText {
  std::string_view property;
  ContactField field;
};
std::span<const VCardText> VCardTexts();

// Fields without a place of their own stand in X-BRELIX- and the field's name; the reader knows some other names too.
std::string OwnProperty(ContactField field);
std::optional<ContactField> FieldOfOwnProperty(std::string_view property);
// A field that the usual properties do not give back exactly stands besides in X-BRELIX-EXACT- and the field's name, as
// base64 of its UTF-8.
std::string ExactProperty(ContactField field);
std::optional<ContactField> FieldOfExactProperty(std::string_view property);

// An instant-messaging address as a URI and back: what is no URI yet becomes one of the scheme im.
std::string ImUri(std::string_view text);
std::string FromImUri(std::string_view uri);

// The scheme of the addresses in one of the properties that were usual before IMPP, X-JABBER for example.
std::optional<std::string_view> ImScheme(std::string_view property);

// The name that a card shows: title, first, middle, last name and suffix, or whatever else tells who it is.
std::string FormattedName(const Contact& contact);

}  // namespace brelix
