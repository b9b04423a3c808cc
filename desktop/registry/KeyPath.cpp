#include "desktop/registry/KeyPath.h"

#include <algorithm>
#include <fmt/format.h>

#include "desktop/Failure.h"
#include "desktop/Text.h"

namespace brelix {
namespace {

constexpr struct Root {
  std::string_view name, long_name;
} kRoots[] = {
    {"HKCR", "HKEY_CLASSES_ROOT"},
    {"HKCU", "HKEY_CURRENT_USER"},
    {"HKLM", "HKEY_LOCAL_MACHINE"},
};

bool SameWithoutCase(std::string_view a, std::string_view b) {
  const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; };
  return std::ranges::equal(a, b, {}, upper, upper);
}

const Root& FindRoot(std::string_view name, std::string_view path) {
  for (const Root& root : kRoots)
    if (SameWithoutCase(name, root.name) || SameWithoutCase(name, root.long_name)) return root;
  throw Failure(Exit::kUsage,
                fmt::format("registry path \"{}\": it has to begin with HKCR, HKCU or HKLM, the roots that "
                            "can be reached",
                            path));
}

}  // namespace

bool IsKeyName(std::string_view wire) {
  using namespace std::string_view_literals;
  return !wire.empty() && wire.find_first_of("\\\0"sv) == wire.npos && WireUnits(wire).has_value();
}

KeyPath KeyPath::Parse(std::string_view utf8) {
  const auto wire = ToWireText(utf8);
  if (!wire) throw Failure(Exit::kUsage, fmt::format("registry path \"{}\": not proper UTF-8", CleanUtf8(utf8)));
  const char separator = wire->find('\\') == wire->npos ? '/' : '\\';
  std::string_view rest = *wire;
  KeyPath path;
  for (bool first = true; !rest.empty() || first;) {
    const size_t end = std::min(rest.find(separator), rest.size());
    const std::string_view name = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (first)
      path.path_ = FindRoot(name, utf8).name;
    else if (!name.empty())
      path = path / name;
    first = false;
  }
  return path;
}

std::string KeyPath::LongForm() const {
  const std::string_view root = std::string_view(path_).substr(0, 4);
  return std::string(FindRoot(root, path_).long_name) + path_.substr(root.size());
}

std::string KeyPath::ForPeople() const { return CleanUtf8(path_); }

size_t KeyPath::Depth() const { return static_cast<size_t>(std::count(path_.begin(), path_.end(), '\\')); }

}  // namespace brelix
