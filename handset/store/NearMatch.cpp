#include "handset/store/NearMatch.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>
#include <vector>

namespace handset {

namespace {

bool SameLetter(char a, char b) {
  return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

// Insertions, deletions and replacements that turn one word into the other; upper and lower case are the same.
std::size_t EditDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t replaced = diagonal + (SameLetter(a[i], b[j]) ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string NearMatches(std::string_view word, std::span<const std::string_view> known) {
  constexpr std::size_t kShown = 3;
  const std::size_t tolerance = std::max<std::size_t>(2, word.size() / 3);
  std::vector<std::pair<std::size_t, std::string_view>> close;
  for (const std::string_view candidate : known) {
    const std::size_t distance = EditDistance(word, candidate);
    if (distance <= tolerance) close.emplace_back(distance, candidate);
  }
  std::ranges::sort(close);
  std::string text;
  for (std::size_t i = 0; i < std::min(kShown, close.size()); ++i) {
    text += i == 0 ? " (did you mean " : " or ";
    text += close[i].second;
  }
  return text.empty() ? text : text + "?)";
}

}  // namespace handset
