#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>
#include <fstream>
#include <nlohmann/json.hpp>

#include "desktop/Base64.h"
#include "desktop/Text.h"
#include "desktop/vcard/VCardReader.h"
#include "programs/phone/import/Import.h"

namespace brelix_phone {
namespace {

using brelix::Contact;
using brelix::ContactField;

// A text as a description has it: what is no proper UTF-8 by its units.
nlohmann::json TextToJson(const std::string& text) {
  if (brelix::IsUtf8(text)) return text;
  const auto units = brelix::WireUnits(brelix::SplitSurrogates(text));
  std::string digits;
  for (const char16_t unit : units.value_or(u"")) digits += fmt::format("{:04x}", static_cast<unsigned>(unit));
  return {{"utf16", digits}};
}

nlohmann::json ContactToJson(const Contact& contact) {
  nlohmann::json object = nlohmann::json::object();
  for (std::size_t i = 0; i < brelix::kContactFields; ++i) {
    const auto field = static_cast<ContactField>(i);
    if (!contact[field].empty()) object[std::string(brelix::NameOf(field))] = TextToJson(contact[field]);
  }
  if (!contact.picture.empty()) object["Picture"] = brelix::ToBase64(contact.picture);
  return object;
}

}  // namespace

void ImportContacts(const std::filesystem::path& file, nlohmann::json& description) {
  std::ifstream in(file, std::ios::binary);
  if (!in || std::filesystem::is_directory(file)) {
    throw std::runtime_error(
        fmt::format("{}: cannot be read: {}", file.string(), std::strerror(errno == 0 ? EISDIR : errno)));
  }
  brelix::VCardReader reader(in, file.string());
  nlohmann::json& contacts = description["contacts"];
  if (contacts.is_null()) contacts = nlohmann::json::array();
  while (const auto card = reader.Next()) {
    const auto tell = [&](const std::string& what) {
      fmt::print(stderr, "brelix-phone: {}: card of line {}: {}\n", file.string(), card->line, what);
    };
    for (const std::string& remark : card->remarks) tell(remark);
    if (card->error) {
      tell("left out: " + *card->error);
    } else {
      contacts.push_back(ContactToJson(card->contact));
    }
  }
}

}  // namespace brelix_phone
