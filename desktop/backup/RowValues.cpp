#include "desktop/backup/RowValues.h"

#include <charconv>
#include <fmt/format.h>

#include "desktop/Text.h"
#include "desktop/backup/PhoneTexts.h"
#include "handset/store/FileTime.h"
#include "handset/store/TimeText.h"

namespace brelix::backup {
namespace {

constexpr std::string_view kNoTime = "00000000T000000Z";
// The day after the last one that a calendar of the phone has, and a time behind the last one: agents write zeros.
constexpr double kNoDate = 2958466;
constexpr int64_t kNoFileTime = INT64_MAX;

std::u16string Units(std::string_view raw, std::string_view what, Losses& losses) {
  if (const auto units = WireUnits(raw)) return *units;
  losses.push_back({std::string(what), "holds bytes that are no text; U+FFFD stands for them"});
  return TextOfUtf8(CleanUtf8(raw));
}

[[nodiscard]] Loss NoDate(std::string_view what, std::string_view raw) {
  return {std::string(what),
          fmt::format("\"{}\" is no time that a phone has", Printable(CleanUtf8(raw.substr(0, 40))))};
}

// Takes so many digits off the end.
std::optional<int> TakeLast(std::string_view& text, size_t digits) {
  if (text.size() < digits) return std::nullopt;
  int value = 0;
  for (const char c : text.substr(text.size() - digits)) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  text.remove_suffix(digits);
  return value;
}

// Years have four digits, or five where they need them.
std::optional<std::chrono::local_seconds> ParseWire(std::string_view raw) {
  using namespace std::chrono;
  if (!raw.ends_with('Z')) return std::nullopt;
  raw.remove_suffix(1);
  const auto s = TakeLast(raw, 2), min = TakeLast(raw, 2), h = TakeLast(raw, 2);
  if (!raw.ends_with('T')) return std::nullopt;
  raw.remove_suffix(1);
  const auto d = TakeLast(raw, 2), m = TakeLast(raw, 2);
  const auto y = raw.size() == 5 && raw[0] == '0' ? std::nullopt : TakeLast(raw, raw.size() == 5 ? 5 : 4);
  constexpr int kLastYear = 30827;  // that a time of the phone can have
  if (!s || !min || !h || !d || !m || !y || !raw.empty() || *y > kLastYear || *h > 23 || *min > 59 || *s > 59)
    return std::nullopt;
  const year_month_day day(year(*y), month(static_cast<unsigned>(*m)), std::chrono::day(static_cast<unsigned>(*d)));
  if (!day.ok()) return std::nullopt;
  return local_days(day) + hours(*h) + minutes(*min) + seconds(*s);
}

}  // namespace

std::u16string TextOf(std::string_view raw, std::string_view what, Losses& losses) {
  std::u16string units = Units(raw, what, losses);
  if (const size_t nul = units.find(u'\0'); nul != units.npos) {
    losses.push_back({std::string(what), "holds a NUL, which ends it"});
    units.resize(nul);
  }
  if (!units.empty() && (units.front() & 0xFF) == 0)
    losses.push_back({std::string(what), "begins with a character that makes agents show it as empty"});
  return units;
}

std::u16string NeededText(std::string_view raw, std::string_view what, Losses& losses) {
  if (!raw.empty()) return TextOf(raw, what, losses);
  losses.push_back({std::string(what), "is shown as empty: it begins with a character that the wire cannot carry"});
  return std::u16string(kUnreadable);
}

double DateOf(std::string_view raw, std::string_view what, Losses& losses) {
  if (raw == kNoTime) return kNoDate;
  const auto time = ParseWire(raw);
  if (time && raw.size() == kNoTime.size()) {
    const std::string text = handset::PrintTime(std::chrono::time_point_cast<std::chrono::milliseconds>(*time));
    if (const auto date = handset::ParseDate(std::string_view(text).substr(0, 19))) return *date;
  }
  losses.push_back(NoDate(what, raw));
  return kNoDate;
}

int64_t FileTimeOf(std::string_view raw, std::chrono::minutes utc_offset, std::string_view what, Losses& losses) {
  if (raw == kNoTime) return kNoFileTime;
  if (const auto time = ParseWire(raw)) {
    using Seconds = std::chrono::seconds;
    const Seconds since_1601 = time->time_since_epoch() - Seconds(utc_offset) + handset::kUnixStart;
    constexpr Seconds kMost = std::chrono::duration_cast<Seconds>(handset::FileTimeSteps::max());
    if (since_1601 >= Seconds(0) && since_1601 < kMost) return handset::FileTimeSteps(since_1601).count();
  }
  losses.push_back(NoDate(what, raw));
  return kNoFileTime;
}

std::optional<int64_t> NumberOf(std::string_view raw, int64_t least, int64_t most, std::string_view what,
                                Losses& losses) {
  int64_t value = 0;
  const auto [end, error] = std::from_chars(raw.data(), raw.data() + raw.size(), value);
  if (error == std::errc() && end == raw.data() + raw.size() && value >= least && value <= most &&
      std::to_string(value) == raw)
    return value;
  losses.push_back({std::string(what),
                    fmt::format("\"{}\" is no number that a phone has", Printable(CleanUtf8(raw.substr(0, 40))))});
  return std::nullopt;
}

}  // namespace brelix::backup
