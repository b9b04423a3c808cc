#include "handset/store/FileNames.h"

#include <algorithm>

#include "handset/Failure.h"
#include "platform/Files.h"

namespace handset {

namespace {

constexpr std::u16string_view kForbidden = u"\\/:\"<>|";
constexpr std::u16string_view kWildcards = u"*?";

bool IsDots(std::u16string_view name) { return name == u"." || name == u".."; }

}  // namespace

bool IsFilePattern(std::u16string_view pattern) {
  return std::ranges::all_of(pattern,
                             [](char16_t c) { return c >= 0x20 && kForbidden.find(c) == std::u16string_view::npos; });
}

bool HasWildcards(std::u16string_view pattern) {
  return pattern.find_first_of(kWildcards) != std::u16string_view::npos;
}

bool IsFileName(std::u16string_view name) {
  return !name.empty() && !IsDots(name) && IsFilePattern(name) && !HasWildcards(name);
}

PhonePath CutPath(std::u16string_view path) {
  if (!path.starts_with(u'\\') || path.size() >= ce::MAX_PATH) throw Failure{ce::ERROR_PATH_NOT_FOUND};
  PhonePath cut;
  for (;;) {
    path.remove_prefix(1);
    const std::size_t end = path.find(u'\\');
    if (end == std::u16string_view::npos) break;
    const std::u16string_view name = path.substr(0, end);
    if (name.empty() || IsDots(name)) throw Failure{ce::ERROR_PATH_NOT_FOUND};
    if (!IsFileName(name)) throw Failure{ce::ERROR_INVALID_NAME};
    cut.folders.emplace_back(name);
    path.remove_prefix(end);
  }
  cut.last = path;
  return cut;
}

bool IsPhonePath(std::u16string_view path) {
  try {
    return IsFileName(CutPath(path).last);
  } catch (const Failure&) {
    return false;
  }
}

// Each "*" takes as little as it can; when what follows does not fit, the last one takes one character more.
bool MatchesPattern(std::u16string_view pattern, std::u16string_view name) {
  if (pattern == u"*.*") return true;
  std::size_t p = 0;
  std::size_t n = 0;
  std::size_t starAt = std::u16string_view::npos;
  std::size_t taken = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == u'*') {
      starAt = p++;
      taken = n;
    } else if (p < pattern.size() && (pattern[p] == u'?' || pattern[p] == name[n])) {
      ++p;
      ++n;
    } else if (starAt != std::u16string_view::npos) {
      p = starAt + 1;
      n = ++taken;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of(u'*', p) == std::u16string_view::npos;
}

}  // namespace handset
