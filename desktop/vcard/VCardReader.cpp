#include "desktop/vcard/VCardReader.h"

#include <algorithm>
#include <fmt/format.h>

#include "desktop/Base64.h"
#include "desktop/Text.h"
#include "desktop/vcard/VCardFields.h"

namespace brelix {
namespace {

using enum ContactField;

constexpr std::string_view kNewLine = "\r\n";
constexpr size_t kAddressParts = 5;

// What a card says of itself.
constexpr std::string_view kAdministrative[] = {"PRODID", "REV", "UID", "SOURCE", "NAME", "PROFILE", "CLIENTPIDMAP"};

// A card that as a whole is not to be used.
struct Unusable {
  std::string why;
};

std::string Excerpt(std::string_view text) {
  constexpr size_t kMost = 60;
  if (text.size() <= kMost) return Printable(CleanUtf8(text));
  size_t end = kMost;
  while (end > 0 && (static_cast<uint8_t>(text[end]) & 0xC0) == 0x80) end--;
  return Printable(CleanUtf8(text.substr(0, end))) + "...";
}

void AddPart(std::string& text, std::string_view separator, std::string_view part) {
  if (part.empty()) return;
  if (!text.empty()) text += separator;
  text += part;
}

// A date as a card writes it. A time that has a zone says nothing of the day where the contact lives and is left out; a
// time without one is the contact's own.
std::optional<std::string> DateOf(std::string text) {
  const size_t t = text.find('T');
  if (t == text.npos) return NormalDate(text);
  if (text.find_first_of("Z+-", t) != text.npos) return NormalDate(text.substr(0, t));
  return NormalDate(text.substr(0, text.find('.')));
}

class Builder {
 public:
  Builder(VCardVersion version, ImportedCard& card) : version_(version), card_(card), contact_(card.contact) {}

  void Take(const VCardLine& line) {
    if (line.name == "PHOTO") return TakePhoto(line);
    const auto decoded = DecodedValue(line);
    if (!decoded) return Remark(line, fmt::format("{} is in an encoding that is not known", line.name));
    if (decoded->empty()) return;
    value_ = *decoded;
    if (!TakeSimple(line) && !TakeListed(line)) NoField(line);
  }

  void Finish() {
    if (!role_.empty() && contact_[kJobTitle].empty()) {
      contact_[kJobTitle] = role_;
    } else if (!role_.empty() && contact_[kJobTitle] != role_) {
      card_.remarks.push_back(fmt::format("ROLE has no field on a phone beside TITLE: \"{}\"", Excerpt(role_)));
    }
    // A card without a name of its own still says whom it is about, unless that is said elsewhere already.
    if (!named_ && !formatted_.empty() && formatted_ != FormattedName(contact_)) contact_[kFirstName] = formatted_;
    for (const auto& [field, text] : exact_) contact_[field] = text;
  }

 private:
  void Remark(const VCardLine& line, const std::string& what) {
    card_.remarks.push_back(fmt::format("line {}: {}", line.number, what));
  }
  void NoField(const VCardLine& line) {
    Remark(line, fmt::format("{} has no field left on a phone: \"{}\"", line.name, Excerpt(value_)));
  }

  std::string Text() const { return Unescaped(value_, version_); }
  std::vector<std::string> Parts(char separator) const { return SplitValue(value_, separator, version_); }

  // Properties that have a way of their own; false for others.
  bool TakeSimple(const VCardLine& line) {
    struct Row {
      std::string_view property;
      void (Builder::*take)(const VCardLine&);
    };
    static constexpr Row kRows[] = {
        {"N", &Builder::TakeName},
        {"FN", &Builder::TakeFormattedName},
        {"ORG", &Builder::TakeOrganisation},
        {"TEL", &Builder::TakeTelephone},
        {"EMAIL", &Builder::TakeEmail},
        {"IMPP", &Builder::TakeIm},
        {"ADR", &Builder::TakeAddress},
        {"BDAY", &Builder::TakeBirthday},
        {"ANNIVERSARY", &Builder::TakeAnniversary},
        {"ROLE", &Builder::TakeRole},
        {"CATEGORIES", &Builder::TakeList},
        {"NICKNAME", &Builder::TakeList},
        {"RELATED", &Builder::TakeRelated},
        {"KIND", &Builder::TakeKind},
    };
    const auto* row =
        std::find_if(std::begin(kRows), std::end(kRows), [&](const Row& r) { return r.property == line.name; });
    if (row == std::end(kRows)) return false;
    (this->*row->take)(line);
    return true;
  }

  bool TakeListed(const VCardLine& line) {
    if (std::find(std::begin(kAdministrative), std::end(kAdministrative), line.name) != std::end(kAdministrative))
      return true;
    if (const auto field = FieldOfExactProperty(line.name)) return TakeExact(line, *field);
    for (const VCardText& row : VCardTexts())
      if (row.property == line.name) return PutText(line, row.field), true;
    if (const auto scheme = ImScheme(line.name))
      return Put(line, KindBeginningWith(kIM1Address), fmt::format("{}:{}", *scheme, Text())), true;
    const auto field = FieldOfOwnProperty(line.name);
    if (!field) return false;
    if (IsDate(*field))
      PutDate(line, *field);
    else
      PutText(line, *field);
    return true;
  }

  void PutText(const VCardLine& line, ContactField field) {
    std::string& text = contact_[field];
    if (field == kBody) return AddPart(text, kNewLine, Text());
    if (!text.empty()) return NoField(line);
    text = Text();
  }

  // Several fields of one kind: into the one the types name, or the first that is free.
  void Put(const VCardLine& line, const VCardKind& kind, const std::string& text) {
    for (size_t i = 0; i < kind.fields.size(); i++) {
      if (line.Has("X-2") && i != 1) continue;
      if (line.Has("X-3") && i != 2) continue;
      if (!contact_[kind.fields[i]].empty()) continue;
      contact_[kind.fields[i]] = text;
      return;
    }
    NoField(line);
  }

  void TakeName(const VCardLine& line) {
    constexpr ContactField kParts[] = {kLastName, kFirstName, kMiddleName, kTitle, kSuffix};
    const auto parts = Parts(';');
    for (size_t i = 0; i < parts.size(); i++) {
      if (parts[i].empty()) continue;
      if (i >= std::size(kParts) || !contact_[kParts[i]].empty()) return NoField(line);
      contact_[kParts[i]] = parts[i];
      named_ = true;
    }
  }

  void TakeFormattedName(const VCardLine&) {
    if (formatted_.empty()) formatted_ = Text();
  }

  void TakeOrganisation(const VCardLine& line) {
    if (!contact_[kCompanyName].empty() || !contact_[kDepartment].empty()) return NoField(line);
    const auto parts = Parts(';');
    contact_[kCompanyName] = parts[0];
    for (size_t i = 1; i < parts.size(); i++) AddPart(contact_[kDepartment], ", ", parts[i]);
  }

  void TakeTelephone(const VCardLine& line) {
    std::string number = Text();
    if (line.Has("VALUE=URI") && number.starts_with("tel:")) number.erase(0, 4);
    if (const VCardKind* kind = TelephoneKind(line)) return Put(line, *kind, number);
    // A number of no kind goes where there is room.
    const bool home = contact_[kHomeTelephoneNumber].empty() || contact_[kHome2TelephoneNumber].empty();
    Put(line, KindBeginningWith(home ? kHomeTelephoneNumber : kBusinessTelephoneNumber), number);
  }

  void TakeEmail(const VCardLine& line) { Put(line, KindBeginningWith(kEmail1Address), Text()); }

  void TakeIm(const VCardLine& line) { Put(line, KindBeginningWith(kIM1Address), CleanUtf8(FromImUri(Text()))); }

  void TakeAddress(const VCardLine& line) {
    const auto other = [](const VCardAddress& each) { return each.type == "X-OTHER"; };
    const auto types = VCardAddresses();
    auto address =
        std::find_if(types.begin(), types.end(), [&](const VCardAddress& each) { return line.Has(each.type); });
    if (address == types.end()) address = std::find_if(types.begin(), types.end(), other);
    const auto field = [&](size_t i) -> std::string& {
      return contact_[static_cast<ContactField>(static_cast<size_t>(address->street) + i)];
    };
    for (size_t i = 0; i < kAddressParts; i++)
      if (!field(i).empty()) return NoField(line);

    // Post-office box and extension come first and belong to the street here.
    auto parts = Parts(';');
    parts.resize(std::max<size_t>(parts.size(), 2 + kAddressParts));
    for (size_t i = 0; i < 3; i++) AddPart(field(0), kNewLine, parts[i]);
    for (size_t i = 1; i < kAddressParts; i++) field(i) = parts[i + 2];
  }

  void PutDate(const VCardLine& line, ContactField field) {
    if (!contact_[field].empty()) return NoField(line);
    const auto date = DateOf(value_);
    if (!date)
      return Remark(line, fmt::format("{} is no date that a phone can hold: \"{}\"", line.name, Excerpt(value_)));
    contact_[field] = *date;
  }
  void TakeBirthday(const VCardLine& line) { PutDate(line, kBirthday); }
  void TakeAnniversary(const VCardLine& line) { PutDate(line, kAnniversary); }

  void TakeRole(const VCardLine&) { AddPart(role_, ", ", Text()); }

  void TakeList(const VCardLine& line) {
    std::string& text = contact_[line.name == "NICKNAME" ? kNickName : kCategories];
    bool first = true;
    for (std::string part : Parts(',')) {
      if (!first) part.erase(0, part.find_first_not_of(' '));
      AddPart(text, ", ", part);
      first = false;
    }
  }

  void TakeRelated(const VCardLine& line) {
    if (line.Has("SPOUSE")) return PutText(line, kSpouse);
    if (line.Has("CHILD")) return AddPart(contact_[kChildren], ", ", Text());
    NoField(line);
  }

  void TakeKind(const VCardLine& line) {
    if (value_ == "group") return Remark(line, "the card is a group of contacts, which a phone does not have");
  }

  bool TakeExact(const VCardLine& line, ContactField field) {
    const auto bytes = FromBase64(value_);
    if (!bytes) throw Unusable{fmt::format("line {}: {} is not whole base64", line.number, line.name)};
    std::string text = JoinSurrogates({reinterpret_cast<const char*>(bytes->data()), bytes->size()});
    if (IsDate(field) && !text.empty() && NormalDate(text) != text)
      throw Unusable{fmt::format("line {}: {} is no date that a phone can hold", line.number, line.name)};
    exact_.emplace_back(field, std::move(text));
    return true;
  }

  void TakePhoto(const VCardLine& line) {
    constexpr std::string_view kBase64Mark = ";base64,";
    std::string_view text = line.value;
    if (const size_t mark = text.find(kBase64Mark); text.starts_with("data:") && mark != text.npos) {
      text.remove_prefix(mark + kBase64Mark.size());
    } else if (!line.IsBase64()) {
      value_ = line.value;
      return NoField(line);
    }
    if (!contact_.picture.empty()) return Remark(line, "PHOTO: a phone keeps one picture only, the first is taken");
    auto picture = FromBase64(text);
    if (!picture)
      throw Unusable{fmt::format("line {}: PHOTO is not whole base64; the picture is cut or damaged", line.number)};
    contact_.picture = std::move(*picture);
  }

  const VCardVersion version_;
  ImportedCard& card_;
  Contact& contact_;
  std::string value_;  // decoded, of the line that is taken
  std::string formatted_, role_;
  bool named_ = false;
  std::vector<std::pair<ContactField, std::string>> exact_;
};

}  // namespace

std::optional<ImportedCard> VCardReader::Next() {
  auto scanned = scanner_.Next();
  if (!scanned) return std::nullopt;
  ImportedCard card{.line = scanned->line, .contact = {}, .remarks = std::move(scanned->odd), .error = {}};
  Builder builder(scanned->version, card);
  try {
    for (const VCardLine& line : scanned->lines) builder.Take(line);
    builder.Finish();
  } catch (const Unusable& unusable) {
    card.error = unusable.why;
  }
  return card;
}

}  // namespace brelix
