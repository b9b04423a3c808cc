#include "desktop/contacts/ContactJson.h"

#include "desktop/Base64.h"
#include "desktop/Text.h"

namespace brelix {

using nlohmann::ordered_json;

ordered_json ToJson(const Contact& contact) {
  ordered_json object{{"oid", contact.oid}};
  for (size_t i = 0; i < kContactFields; i++) {
    const std::string& text = contact.fields[i];
    object[std::string(ContactFieldNames()[i])] = text.empty() ? ordered_json() : ordered_json(CleanUtf8(text));
  }
  object["picture_bytes"] = contact.picture.size();
  return object;
}

ordered_json ToJsonWithPicture(const Contact& contact) {
  ordered_json object = ToJson(contact);
  object["Picture"] = contact.picture.empty() ? ordered_json() : ordered_json(ToBase64(contact.picture));
  return object;
}

}  // namespace brelix
