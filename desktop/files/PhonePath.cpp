#include "desktop/files/PhonePath.h"

#include <fmt/format.h>

#include "desktop/Text.h"
#include "desktop/Wire.h"

namespace brelix {

bool IsName(std::string_view wire) {
  using namespace std::string_view_literals;
  if (wire.empty() || wire == "." || wire == "..") return false;
  return wire.find_first_of("\\/*?\0"sv) == wire.npos && WireUnits(wire).has_value();
}

PhonePath PhonePath::Parse(std::string_view utf8) {
  const auto wire = ToWireText(utf8);
  if (!wire) throw Failure(Exit::kUsage, fmt::format("path \"{}\": not proper UTF-8", CleanUtf8(utf8)));
  if (wire->empty()) throw Failure(Exit::kUsage, "an empty path; the phone's root is \"/\"");
  PhonePath path;
  for (size_t at = 0; at < wire->size();) {
    const size_t end = std::min(wire->find_first_of("\\/", at), wire->size());
    const std::string name = wire->substr(at, end - at);
    if (name == "." || name == "..")
      throw Failure(Exit::kUsage, fmt::format("path \"{}\": a phone's paths know no \"{}\"", utf8, name));
    if (!name.empty()) path = path / name;
    at = end + 1;
  }
  return path;
}

std::string PhonePath::ForPeople() const { return CleanUtf8(Wire()); }

Bytes RequestFor(std::string_view wire_path) {
  if (wire_path.find(wire::kEndMark) != wire_path.npos)
    throw EntryFailure(Exit::kWouldLoseData,
                       fmt::format("{}: cannot be asked for, since \"ZZZZ\" ends a request; a phone does "
                                   "not tell case apart, so write it as \"ZZZz\"",
                                   CleanUtf8(wire_path)));
  if (wire_path.size() > wire::kMaxRequest - wire::kFrameOverhead)
    throw EntryFailure(Exit::kWouldLoseData, fmt::format("{:.40}...: a path of {} bytes does not fit into a request",
                                                         CleanUtf8(wire_path), wire_path.size()));
  return {wire_path.begin(), wire_path.end()};
}

}  // namespace brelix
