#include "desktop/contacts/ContactDocument.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>

#include "desktop/Base64.h"
#include "desktop/Document.h"
#include "desktop/Failure.h"
#include "desktop/Text.h"
#include "desktop/Wire.h"

namespace brelix {
namespace {

constexpr std::string_view kRoot = "contactentry";
constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";

// Every element, in the phone's order.
std::span<const std::string_view> ElementNames() {
  static const auto names = [] {
    std::array<std::string_view, kContactFields + 2> all{"oid"};
    std::copy(ContactFieldNames().begin(), ContactFieldNames().end(), all.begin() + 1);
    all.back() = "Picture";
    return all;
  }();
  return names;
}

[[noreturn]] void Broken(std::string_view name, std::string_view found) {
  throw Failure(Exit::kProtocol, fmt::format("the phone's contact is broken: its {} is \"{}\"", name,
                                             Printable(CleanUtf8(found.substr(0, 60)))));
}

std::string DateFromWire(std::string_view name, std::string_view text) {
  // How the phone says that there is none, and what an agent makes of one that no calendar has.
  if (text.starts_with("45010101T") || text == "00000000T000000Z") return {};
  if (!text.ends_with('Z')) Broken(name, text);
  const auto date = NormalDate(text.substr(0, text.size() - 1));
  if (!date) Broken(name, text);
  return *date;
}

std::string DateToWire(std::string_view date) {
  std::string out;
  std::copy_if(date.begin(), date.end(), std::back_inserter(out), [](char c) { return c != '-' && c != ':'; });
  return out + (out.size() == 8 ? "T000000Z" : "Z");
}

std::string ToWire(ContactField field, std::string_view text) {
  return IsDate(field) ? DateToWire(text) : SplitSurrogates(text);
}

// Nothing when the phone reads the text as it is.
std::string WhyNot(ContactField field, const std::string& text) {
  if (IsDate(field))
    return NormalDate(text) == text ? "" : fmt::format("\"{}\" is no date that a phone can hold", text);
  if (const size_t at = text.find('\0'); at != text.npos) return "holds a NUL, which would end it on the phone";
  if (text.find('<') != text.npos) return "holds a \"<\", which would end it on the phone";
  if (text.find(wire::kEndMark) != text.npos) return "holds \"ZZZZ\", which would end the request on the phone";
  if ((FirstUnit(text) & 0xFF) == 0)
    return fmt::format("begins with the character {}, which would make the phone show it as empty",
                       text.substr(0, CharacterSize(text)));
  return {};
}

}  // namespace

Contact ReadContactDocument(std::string_view document) {
  const Document read(document, kRoot, ElementNames());
  Contact contact;
  const auto oid = read.Number("oid");
  if (!oid || *oid < 0 || *oid > UINT32_MAX) Broken("oid", read.Raw("oid").value_or("missing"));
  contact.oid = static_cast<uint32_t>(*oid);
  for (size_t i = 0; i < kContactFields; i++) {
    const std::string_view name = ContactFieldNames()[i];
    const auto raw = read.Raw(name);
    if (!raw) continue;
    contact.fields[i] = IsDate(static_cast<ContactField>(i)) ? DateFromWire(name, *raw) : JoinSurrogates(*raw);
  }
  if (const auto raw = read.Raw("Picture")) {
    auto picture = FromBase64(*raw);
    if (!picture) throw Failure(Exit::kProtocol, "the phone's contact is broken: its Picture is not whole base64");
    contact.picture = std::move(*picture);
  }
  return contact;
}

std::string WriteContactDocument(const Contact& contact, EmptyFileAs file_as) {
  // Without a blank or a line more than needed: so a contact whose texts are all as long as they may be fits a request.
  std::string out = fmt::format("{}<{}>", kDeclaration, kRoot);
  for (size_t i = 0; i < kContactFields; i++) {
    const auto field = static_cast<ContactField>(i);
    const bool clear = field == ContactField::kFileAs && file_as == EmptyFileAs::kClear;
    if (contact[field].empty() && !clear) continue;
    out += fmt::format("<{0}>{1}</{0}>", NameOf(field), contact[field].empty() ? "" : ToWire(field, contact[field]));
  }
  return out + fmt::format("</{}>", kRoot);
}

std::vector<Obstacle> ObstaclesTo(const Contact& contact) {
  std::vector<Obstacle> found;
  for (size_t i = 0; i < kContactFields; i++) {
    const auto field = static_cast<ContactField>(i);
    const std::string& text = contact[field];
    if (text.empty()) continue;
    const std::string name(NameOf(field));
    if (std::string reason = WhyNot(field, text); !reason.empty()) found.push_back({name, std::move(reason)});
    if (const size_t size = ToWire(field, text).size(); size > wire::kMaxText)
      found.push_back({name, fmt::format("takes {} bytes of {}", size, wire::kMaxText), true});
  }
  return found;
}

Contact Shortened(Contact contact) {
  for (size_t i = IsDate(ContactField::kAnniversary) ? 2 : 0; i < kContactFields; i++) {
    std::string& text = contact.fields[i];
    size_t end = 0;
    for (size_t on_wire = 0; end < text.size();) {
      const size_t size = CharacterSize(std::string_view(text).substr(end));
      on_wire += size == 4 ? 6 : size;
      if (on_wire > wire::kMaxText) break;
      end += size;
    }
    text.resize(end);
  }
  return contact;
}

}  // namespace brelix
