#include "desktop/vcard/VCardFields.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <fmt/format.h>

#include "desktop/Text.h"

namespace brelix {
namespace {

using enum ContactField;

constexpr ContactField kHome[] = {kHomeTelephoneNumber, kHome2TelephoneNumber};
constexpr ContactField kBusiness[] = {kBusinessTelephoneNumber, kBusiness2TelephoneNumber};
constexpr ContactField kMobile[] = {kMobileTelephoneNumber};
constexpr ContactField kCar[] = {kCarTelephoneNumber};
constexpr ContactField kRadio[] = {kRadioTelephoneNumber};
constexpr ContactField kAssistant[] = {kAssistantTelephoneNumber};
constexpr ContactField kHomeFax[] = {kHomeFaxNumber};
constexpr ContactField kBusinessFax[] = {kBusinessFaxNumber};
constexpr ContactField kPager[] = {kPagerNumber};
constexpr ContactField kEmail[] = {kEmail1Address, kEmail2Address, kEmail3Address};
constexpr ContactField kIm[] = {kIM1Address, kIM2Address, kIM3Address};

constexpr VCardKind kKinds[] = {
    {"TEL", "HOME,VOICE", "home,voice", kHome},
    {"TEL", "WORK,VOICE", "work,voice", kBusiness},
    {"TEL", "CELL,VOICE", "cell,voice", kMobile},
    {"TEL", "CAR,VOICE", "x-car,voice", kCar},
    {"TEL", "X-RADIO,VOICE", "x-radio,voice", kRadio},
    {"TEL", "X-ASSISTANT,VOICE", "x-assistant,voice", kAssistant},
    {"TEL", "HOME,FAX", "home,fax", kHomeFax},
    {"TEL", "WORK,FAX", "work,fax", kBusinessFax},
    {"TEL", "PAGER", "pager", kPager},
    {"EMAIL", "INTERNET", "", kEmail},
    {"IMPP", "", "", kIm},
};

constexpr VCardAddress kAddresses[] = {
    {"HOME", kHomeAddressStreet}, {"X-OTHER", kOtherAddressStreet}, {"WORK", kBusinessAddressStreet}};

constexpr VCardText kTexts[] = {
    {"NICKNAME", kNickName},
    {"TITLE", kJobTitle},
    {"NOTE", kBody},
    {"URL", kWebPage},
};

// What others call fields that have no place of their own.
constexpr VCardText kAliases[] = {
    {"X-ANNIVERSARY", kAnniversary},
    {"X-EVOLUTION-ANNIVERSARY", kAnniversary},
    {"X-EVOLUTION-FILE-AS", kFileAs},
    {"X-SPOUSE", kSpouse},
    {"X-EVOLUTION-SPOUSE", kSpouse},
    {"X-KADDRESSBOOK-X-SPOUSESNAME", kSpouse},
    {"X-MANAGER", kManagerName},
    {"X-EVOLUTION-MANAGER", kManagerName},
    {"X-KADDRESSBOOK-X-MANAGERSNAME", kManagerName},
    {"X-ASSISTANT", kAssistantName},
    {"X-EVOLUTION-ASSISTANT", kAssistantName},
    {"X-KADDRESSBOOK-X-ASSISTANTSNAME", kAssistantName},
    {"X-KADDRESSBOOK-X-OFFICE", kOfficeLocation},
    {"X-CHILDREN", kChildren},
};

struct ImRow {
  std::string_view property, scheme;
};
constexpr ImRow kImProperties[] = {
    {"X-AIM", "aim"},     {"X-ICQ", "icq"},     {"X-JABBER", "xmpp"},          {"X-MSN", "msn"},
    {"X-YAHOO", "yahoo"}, {"X-SKYPE", "skype"}, {"X-SKYPE-USERNAME", "skype"}, {"X-SIP", "sip"},
};

// The first row whose types a telephone number has all of says which field it is for.
struct TelRow {
  std::array<std::string_view, 2> types;
  ContactField first;
};
constexpr TelRow kTel[] = {
    {{"X-ASSISTANT", ""}, kAssistantTelephoneNumber},
    {{"X-RADIO", ""}, kRadioTelephoneNumber},
    {{"CAR", ""}, kCarTelephoneNumber},
    {{"X-CAR", ""}, kCarTelephoneNumber},
    {{"PAGER", ""}, kPagerNumber},
    {{"FAX", "HOME"}, kHomeFaxNumber},
    {{"FAX", ""}, kBusinessFaxNumber},
    {{"CELL", ""}, kMobileTelephoneNumber},
    {{"WORK", ""}, kBusinessTelephoneNumber},
    {{"HOME", ""}, kHomeTelephoneNumber},
};

constexpr std::string_view kOwn = "X-BRELIX-";
constexpr std::string_view kExact = "X-BRELIX-EXACT-";
constexpr std::string_view kImScheme = "im:";

std::optional<ContactField> FieldInCapitals(std::string_view name) {
  for (size_t i = 0; i < kContactFields; i++)
    if (Capitals(ContactFieldNames()[i]) == name) return static_cast<ContactField>(i);
  return std::nullopt;
}

bool PlainInUri(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
         std::string_view("-._~@+/?=&!$*:").find(c) != std::string_view::npos;
}

// A text that is a URI of another scheme as it stands.
bool IsOtherUri(std::string_view text) {
  const size_t colon = text.find(':');
  if (colon == text.npos || colon == 0 || text.starts_with(kImScheme)) return false;
  const auto in_scheme = [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '+' || c == '-';
  };
  return std::all_of(text.begin(), text.begin() + colon, in_scheme) &&
         std::all_of(text.begin(), text.end(), PlainInUri);
}

}  // namespace

std::span<const VCardKind> VCardKinds() { return kKinds; }
const VCardKind& KindBeginningWith(ContactField field) {
  return *std::find_if(std::begin(kKinds), std::end(kKinds),
                       [&](const VCardKind& kind) { return kind.fields[0] == field; });
}

const VCardKind* TelephoneKind(const VCardLine& line) {
  const auto has = [&](std::string_view type) { return type.empty() || line.Has(type); };
  for (const TelRow& row : kTel)
    if (has(row.types[0]) && has(row.types[1])) return &KindBeginningWith(row.first);
  return nullptr;
}

std::span<const VCardAddress> VCardAddresses() { return kAddresses; }
std::span<const VCardText> VCardTexts() { return kTexts; }

std::string OwnProperty(ContactField field) { return fmt::format("{}{}", kOwn, Capitals(NameOf(field))); }

std::optional<ContactField> FieldOfOwnProperty(std::string_view property) {
  if (property.starts_with(kOwn)) return FieldInCapitals(property.substr(kOwn.size()));
  const auto* row = std::find_if(std::begin(kAliases), std::end(kAliases),
                                 [&](const VCardText& each) { return each.property == property; });
  if (row == std::end(kAliases)) return std::nullopt;
  return row->field;
}

std::string ExactProperty(ContactField field) { return fmt::format("{}{}", kExact, Capitals(NameOf(field))); }

std::optional<ContactField> FieldOfExactProperty(std::string_view property) {
  if (!property.starts_with(kExact)) return std::nullopt;
  return FieldInCapitals(property.substr(kExact.size()));
}

std::string ImUri(std::string_view text) {
  if (IsOtherUri(text)) return std::string(text);
  std::string out(kImScheme);
  for (const char c : CleanUtf8(text))
    out += PlainInUri(c) ? std::string(1, c) : fmt::format("%{:02X}", static_cast<uint8_t>(c));
  return out;
}

std::string FromImUri(std::string_view uri) {
  if (Capitals(uri.substr(0, kImScheme.size())) != Capitals(kImScheme)) return std::string(uri);
  uri.remove_prefix(kImScheme.size());
  std::string out;
  for (size_t i = 0; i < uri.size(); i++) {
    uint8_t byte = 0;
    const char* digits = uri.data() + i + 1;
    if (uri[i] == '%' && i + 2 < uri.size() && std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
      out += static_cast<char>(byte);
      i += 2;
    } else {
      out += uri[i];
    }
  }
  return out;
}

std::optional<std::string_view> ImScheme(std::string_view property) {
  const auto* row = std::find_if(std::begin(kImProperties), std::end(kImProperties),
                                 [&](const ImRow& each) { return each.property == property; });
  if (row == std::end(kImProperties)) return std::nullopt;
  return row->scheme;
}

std::string FormattedName(const Contact& contact) {
  const std::string name = PersonName(contact);
  return name.empty() ? contact[kFileAs] : name;
}

}  // namespace brelix
