#include "desktop/files/Listing.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <fmt/format.h>
#include <limits>

#include "desktop/Client.h"
#include "desktop/Failure.h"
#include "desktop/Text.h"

namespace brelix {
namespace {

std::optional<int64_t> Seconds(std::string_view text) {
  const auto time = ParseTimestamp(text);
  if (!time) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year(time->year), std::chrono::month(time->month),
                                         std::chrono::day(time->day)};
  if (!date.ok()) return std::nullopt;
  const int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
  return ((days * 24 + time->hour) * 60 + time->minute) * 60 + time->second.value_or(0);
}

std::optional<uint32_t> MendedSize(std::string_view text) {
  int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  if (value < std::numeric_limits<int32_t>::min() || value > std::numeric_limits<int32_t>::max()) return std::nullopt;
  return static_cast<uint32_t>(value);
}

// Reads a document from front to back.
class Reader {
 public:
  Reader(std::string_view document, std::string_view root) : rest_(document) {
    const std::string open = fmt::format("<{}>", root);
    const size_t at = rest_.find(open);
    if (at == rest_.npos)
      throw Failure(Exit::kProtocol, fmt::format("the phone's answer is not a <{}> document", root));
    rest_.remove_prefix(at + open.size());
  }

  bool Take(std::string_view tag) {
    SkipBlanks();
    if (!rest_.starts_with(tag)) return false;
    rest_.remove_prefix(tag.size());
    return true;
  }

  // The text of an element that has to come now; its closing tag is one that the next tag follows, if one is given.
  std::string_view Text(std::string_view open, std::string_view close, std::string_view next = {}) {
    if (!Take(open)) Broken(open);
    for (size_t at = rest_.find(close); at != rest_.npos; at = rest_.find(close, at + 1)) {
      const std::string_view text = rest_.substr(0, at);
      const std::string_view behind = rest_.substr(at + close.size());
      const std::string_view tag = behind.substr(std::min(behind.find_first_not_of(" \n"), behind.size()));
      if (!tag.starts_with(next)) continue;
      rest_ = behind;
      return text;
    }
    Broken(close);
  }

  FileEntry Entry() {
    FileEntry entry;
    entry.name = Text("<name>", "</name>", "<modified>");
    entry.modified = Seconds(Text("<modified>", "</modified>"));
    entry.attributes = CleanUtf8(Text("<attr>", "</attr>"));
    if (At("<size>")) entry.size = MendedSize(Text("<size>", "</size>"));
    return entry;
  }

  bool At(std::string_view tag) {
    SkipBlanks();
    return rest_.starts_with(tag);
  }

  void End(std::string_view close) {
    if (!Take(close)) Broken(close);
    SkipBlanks();
    if (!rest_.empty()) Broken("nothing more");
  }

 private:
  void SkipBlanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(" \n"), rest_.size())); }
  [[noreturn]] void Broken(std::string_view expected) const {
    throw Failure(Exit::kProtocol, fmt::format("the phone's document about files is broken: {} expected before \"{}\"",
                                               expected, CleanUtf8(rest_.substr(0, 40))));
  }

  std::string_view rest_;
};

}  // namespace

std::vector<FileEntry> ParseFolderPart(std::string_view document) {
  Reader reader(document, "folder");
  reader.Entry();  // the folder itself
  std::vector<FileEntry> entries;
  if (reader.Take("<content>"))
    while (reader.At("<name>")) entries.push_back(reader.Entry());
  reader.Take("</content>");  // only in the last part
  reader.End("</folder>");
  return entries;
}

FileEntry ParseFileInfo(std::string_view document) {
  Reader reader(document, "fileinfo");
  FileEntry entry = reader.Entry();
  reader.End("</fileinfo>");
  return entry;
}

}  // namespace brelix
