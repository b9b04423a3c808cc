#include "handset/store/FilesDescription.h"

#include <algorithm>
#include <set>

#include "handset/Failure.h"
#include "handset/store/FileNames.h"
#include "handset/store/FileTimeText.h"
#include "handset/store/JsonFields.h"
#include "platform/Files.h"

namespace handset {

namespace {

struct AttributeLetter {
  char letter;
  ce::DWORD attribute;
};
constexpr std::array<AttributeLetter, 4> kLetters = {{{'A', ce::FILE_ATTRIBUTE_ARCHIVE},
                                                      {'H', ce::FILE_ATTRIBUTE_HIDDEN},
                                                      {'S', ce::FILE_ATTRIBUTE_SYSTEM},
                                                      {'R', ce::FILE_ATTRIBUTE_READONLY}}};

std::uint32_t ParseAttributes(const JsonNode& node) {
  std::uint32_t attributes = 0;
  for (const char letter : node.String()) {
    const auto known = std::ranges::find(kLetters, letter, &AttributeLetter::letter);
    if (known == kLetters.end()) node.Misfit("a text of the letters A, H, S and R");
    attributes |= known->attribute;
  }
  return attributes;
}

std::string PrintAttributes(std::uint32_t attributes) {
  std::string text;
  for (const AttributeLetter& row : kLetters) {
    if ((attributes & row.attribute) != 0) text += row.letter;
  }
  return text;
}

Bytes ParseContent(const JsonNode& node) {
  if (const auto hex = node.Find("hex")) {
    const auto bytes = FromHex(hex->String());
    if (!bytes) hex->Misfit("two hexadecimal digits a byte");
    return *bytes;
  }
  const std::string text = node.Need("text").String();
  return {text.begin(), text.end()};
}

PhoneFile ParseFile(const JsonNode& node) {
  node.NeedObject({"path", "folder", "text", "hex", "size", "modified", "attributes"});
  PhoneFile file;
  const JsonNode path = node.Need("path");
  file.path = path.Text();
  if (!IsPhonePath(file.path)) path.Misfit("a path such as \"\\\\My Documents\\\\a.txt\" of at most 259 units");
  ReadBool(node, "folder", file.isFolder);
  const bool hasContent = node.Find("text") || node.Find("hex");
  if (node.Find("text") && node.Find("hex")) node.Misfit("\"text\" or \"hex\"", "both");
  if (hasContent) file.content = ParseContent(node);
  if (const auto size = node.Find("size")) {
    constexpr std::int64_t kLargest = std::int64_t{1} << 42;
    file.size = static_cast<std::uint64_t>(size->Integer(0, kLargest));
    if (file.content && file.content->empty()) size->Misfit("no size for an empty content");
  }
  if (file.isFolder && (hasContent || file.size)) node.Misfit("a folder without content", "one with it");
  if (const auto modified = node.Find("modified")) file.modified = ParseFileTime(*modified);
  if (const auto attributes = node.Find("attributes")) file.attributes = ParseAttributes(*attributes);
  return file;
}

}  // namespace

std::vector<PhoneFile> ParseFiles(const JsonNode& list) {
  std::vector<PhoneFile> files;
  std::set<std::u16string> paths;
  list.ForEach([&](const JsonNode& node) {
    files.push_back(ParseFile(node));
    if (!paths.insert(Fold(files.back().path)).second) node.Need("path").Misfit("a path that is not there already");
  });
  return files;
}

nlohmann::json PrintFiles(const std::vector<PhoneFile>& files) {
  return PrintList(files, [](const PhoneFile& file) {
    return nlohmann::json{{"path", TextToJson(file.path)},
                          {"attributes", PrintAttributes(file.attributes.value_or(0))}};
  });
}

}  // namespace handset
