#include "desktop/vcard/VCardWriter.h"

#include <algorithm>
#include <fmt/format.h>
#include <sstream>

#include "desktop/Base64.h"
#include "desktop/vcard/VCardFields.h"
#include "desktop/vcard/VCardReader.h"

namespace brelix {
namespace {

using enum ContactField;

constexpr ContactField kHomeless[] = {kFileAs,     kAccountName, kManagerName,        kAssistantName, kOfficeLocation,
                                      kCustomerID, kSpouse,      kGovernmentIDNumber, kChildren};
constexpr std::string_view kCategorySeparator = ", ";

struct PictureKind {
  std::string_view begin;  // how such a file begins
  const char* type30;
  const char* type40;
};
constexpr PictureKind kPictureKinds[] = {
    {"\xFF\xD8\xFF", "JPEG", "image/jpeg"}, {"\x89PNG", "PNG", "image/png"},
    {"GIF8", "GIF", "image/gif"},           {"BM", "BMP", "image/bmp"},
    {"", "", "application/octet-stream"},
};

class Card {
 public:
  Card(const Contact& contact, VCardVersion version) : contact_(contact), is40_(version == VCardVersion::k40) {
    Line("BEGIN:VCARD");
    Line(is40_ ? "VERSION:4.0" : "VERSION:3.0");
    Name();
    for (const VCardText& row : VCardTexts())
      Text(row.property, row.field, row.property == "URL" ? EscapedUri : Escaped);
    for (const VCardKind& kind : VCardKinds()) Kind(kind);
    for (const VCardAddress& address : VCardAddresses()) Address(address);
    Date("BDAY", kBirthday);
    Date(is40_ ? "ANNIVERSARY" : "X-ANNIVERSARY", kAnniversary);
    Categories();
    for (const ContactField field : kHomeless) Homeless(field);
  }

  // What the card does not give back as it was.
  void AddExact() {
    std::istringstream text(text_ + "END:VCARD\r\n");
    const auto back = VCardReader(text, "card").Next();
    for (const FieldChange& change : Changes(back->contact, contact_)) {
      const std::string& exact = change.after;
      Line(fmt::format("{}:{}", ExactProperty(change.field),
                       ToBase64({reinterpret_cast<const uint8_t*>(exact.data()), exact.size()})));
    }
  }

  void AddPhoto() {
    if (contact_.picture.empty()) return;
    const std::string_view file(reinterpret_cast<const char*>(contact_.picture.data()), contact_.picture.size());
    const auto* kind = std::find_if(std::begin(kPictureKinds), std::end(kPictureKinds),
                                    [&](const PictureKind& each) { return file.starts_with(each.begin); });
    const std::string type = *kind->type30 == '\0' ? "" : fmt::format(";TYPE={}", kind->type30);
    const std::string head =
        is40_ ? fmt::format("PHOTO:data:{};base64,", kind->type40) : fmt::format("PHOTO;ENCODING=b{}:", type);
    Line(head + ToBase64(contact_.picture));
  }

  std::string Finish() {
    Line("END:VCARD");
    return std::move(text_);
  }

 private:
  void Line(std::string_view line) { text_ += Folded(line); }

  void Text(std::string_view property, ContactField field, std::string (*escaped)(std::string_view)) {
    if (!contact_[field].empty()) Line(fmt::format("{}:{}", property, escaped(contact_[field])));
  }

  std::string Joined(std::initializer_list<ContactField> fields) const {
    std::string out;
    for (const ContactField field : fields) out += Escaped(contact_[field]) + ';';
    out.pop_back();
    return out;
  }

  void Name() {
    Line("N:" + Joined({kLastName, kFirstName, kMiddleName, kTitle, kSuffix}));
    Line("FN:" + Escaped(FormattedName(contact_)));
    if (!contact_[kDepartment].empty())
      Line("ORG:" + Joined({kCompanyName, kDepartment}));
    else
      Text("ORG", kCompanyName, Escaped);
  }

  void Kind(const VCardKind& kind) {
    const bool im = kind.property == "IMPP";
    size_t written = 0;
    for (size_t i = 0; i < kind.fields.size(); i++) {
      const std::string& text = contact_[kind.fields[i]];
      if (text.empty()) continue;
      std::string types(is40_ ? kind.types40 : kind.types);
      if (written++ != i) types += fmt::format("{}X-{}", types.empty() ? "" : ",", i + 1);
      Line(fmt::format("{}{}{}:{}", kind.property, types.empty() ? "" : ";TYPE=", types,
                       im ? ImUri(text) : Escaped(text)));
    }
  }

  void Address(const VCardAddress& address) {
    std::string parts;
    bool any = false;
    for (int i = 0; i < 5; i++) {
      const std::string& part = contact_[static_cast<ContactField>(static_cast<int>(address.street) + i)];
      any = any || !part.empty();
      parts += ";" + Escaped(part);
    }
    if (any) Line(fmt::format("ADR;TYPE={}:;{}", address.type, parts));
  }

  // Plain dates: they are of no time zone, and none may move them.
  void Date(const char* property, ContactField field) {
    std::string date = contact_[field];
    if (date.empty()) return;
    const bool with_time = date.find('T') != date.npos;
    if (is40_) std::erase_if(date, [](char c) { return c == '-' || c == ':'; });
    Line(fmt::format("{}{}:{}", property, with_time && !is40_ ? ";VALUE=date-time" : "", date));
  }

  void Categories() {
    std::string_view rest = contact_[kCategories];
    if (rest.empty()) return;
    std::string list;
    for (size_t end = 0; end != rest.npos;) {
      end = rest.find(kCategorySeparator);
      list += Escaped(rest.substr(0, end)) + ',';
      if (end != rest.npos) rest.remove_prefix(end + kCategorySeparator.size());
    }
    list.pop_back();
    Line("CATEGORIES:" + list);
  }

  void Homeless(ContactField field) {
    std::string property = OwnProperty(field);
    if (is40_ && field == kSpouse) property = "RELATED;VALUE=text;TYPE=spouse";
    if (is40_ && field == kChildren) property = "RELATED;VALUE=text;TYPE=child";
    Text(property, field, Escaped);
  }

  const Contact& contact_;
  const bool is40_;
  std::string text_;
};

}  // namespace

std::string WriteVCard(const Contact& contact, VCardVersion version) {
  Card card(contact, version);
  card.AddExact();
  card.AddPhoto();
  return card.Finish();
}

}  // namespace brelix
