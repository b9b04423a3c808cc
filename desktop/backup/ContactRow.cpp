#include "desktop/backup/ContactRow.h"

#include <algorithm>
#include <array>

#include "desktop/Base64.h"
#include "desktop/Failure.h"
#include "desktop/backup/RowValues.h"
#include "handset/store/RowValues.h"
#include "handset/store/TimeText.h"

namespace brelix::backup {
namespace {

// In the order in which agents write them, each at most once.
const std::array<ElementRule, kContactFields + 2>& Rules() {
  static const auto rules = [] {
    std::array<ElementRule, kContactFields + 2> all{};
    all.front().name = "oid";
    for (size_t i = 0; i < kContactFields; i++) all[i + 1].name = ContactFieldNames()[i];
    all.back().name = "Picture";
    for (size_t i = 0; i < all.size(); i++) all[i].rank = static_cast<int>(i);
    return all;
  }();
  return rules;
}

std::optional<handset::ContactText> TextNamed(std::string_view name) {
  const auto found = std::find_if(handset::kContactTexts.begin(), handset::kContactTexts.end(),
                                  [&](const auto& text) { return text.name == name; });
  if (found == handset::kContactTexts.end()) return std::nullopt;
  return static_cast<handset::ContactText>(found - handset::kContactTexts.begin());
}

// The phone's own way to say that there is no date needs no row.
std::optional<double> Date(const RawDocument& document, std::string_view name, Losses& losses) {
  const auto raw = document.Raw(name);
  if (!raw || *raw == "45010101T000000Z") return std::nullopt;
  return DateOf(*raw, name, losses);
}

handset::Bytes PictureOf(std::string_view raw, Losses& losses) {
  if (auto picture = FromBase64(raw)) return std::move(*picture);
  losses.push_back({"Picture", "is not whole base64; it is left out"});
  return {};
}

}  // namespace

handset::Contact ContactRow(std::string_view text, Losses& losses) {
  const RawDocument document(text, "contactentry", Rules(), losses);
  handset::Contact row;
  const auto oid = NumberOf(document.Raw("oid").value_or(""), 1, UINT32_MAX, "oid", losses);
  if (!oid) throw Failure(Exit::kProtocol, "the phone's contact has no object id");
  row.oid = static_cast<uint32_t>(*oid);
  row.birthday = Date(document, "Birthday", losses);
  row.anniversary = Date(document, "Anniversary", losses);
  // Without one, a phone would make up the name to file it under; this phone answered that there is none.
  row[handset::ContactText::FileAs] = u"";
  for (const ElementText& element : document.elements())
    if (const auto which = TextNamed(element.name)) row[*which] = NeededText(element.text, element.name, losses);
  if (const auto picture = document.Raw("Picture")) row.picture = PictureOf(*picture, losses);
  return row;
}

Contact ContactOfRow(const handset::Contact& row, std::vector<std::string>& unreadable) {
  Contact contact;
  contact.oid = row.oid;
  const auto date = [](const std::optional<double>& value) {
    const auto text = value ? handset::PrintDate(*value) : std::nullopt;
    return text ? NormalDate(*text).value_or("") : "";
  };
  contact[ContactField::kBirthday] = date(row.birthday);
  contact[ContactField::kAnniversary] = date(row.anniversary);
  for (size_t i = 0; i < row.texts.size(); i++) {
    const auto& text = row.texts[i];
    if (!text || text->empty()) continue;
    const std::string name(handset::kContactTexts[i].name);
    if ((text->front() & 0xFF) == 0)
      unreadable.push_back(name);
    else
      contact[*ContactFieldNamed(name)] = handset::ToWtf8(*text);
  }
  contact.picture = row.picture;
  return contact;
}

}  // namespace brelix::backup
