#include "handset/com/Automation.h"

#include <chrono>
#include <cmath>
#include <cstring>
#include <new>
#include <string>

#include "handset/Enter.h"
#include "handset/system/Heap.h"

namespace handset {

namespace {

using namespace std::chrono;

// In front of a system string's first unit: its size in bytes, without the terminating 0.
using Prefix = ce::DWORD;

constexpr sys_days kDayZero = December / 30 / 1899;
constexpr ce::DATE kFirstDay = -657434;  // 1 January 100
constexpr ce::DATE kDayAfterLast = 2958466;
constexpr long kDaySeconds = 86400;

void* BlockOf(ce::BSTR text) { return static_cast<std::byte*>(static_cast<void*>(text)) - sizeof(Prefix); }

ce::BSTR NewString(const std::shared_ptr<Ledger>& ledger, std::u16string_view text) {
  const std::size_t bytes = text.size() * sizeof(ce::WCHAR);
  void* block = AllocateBlock(ledger, Held::kSystemString, sizeof(Prefix) + bytes + sizeof(ce::WCHAR));
  if (block == nullptr) return nullptr;
  const auto prefix = static_cast<Prefix>(bytes);
  std::memcpy(block, &prefix, sizeof prefix);
  auto* units = static_cast<ce::WCHAR*>(static_cast<void*>(static_cast<std::byte*>(block) + sizeof prefix));
  text.copy(units, text.size());
  units[text.size()] = 0;
  return units;
}

}  // namespace

ce::BSTR NewSystemString(Phone& phone, std::u16string_view text) {
  const ce::BSTR made = NewString(phone.ledger, text);
  if (made == nullptr) throw std::bad_alloc();
  return made;
}

std::u16string_view TextOf(ce::BSTR text) {
  if (text == nullptr) return {};
  Prefix bytes = 0;
  std::memcpy(&bytes, BlockOf(text), sizeof bytes);
  return {text, bytes / sizeof(ce::WCHAR)};
}

// Before the first day the whole part goes back and the fraction still forth: -1.25 is 29 December 1899, 06:00.
std::optional<ce::SYSTEMTIME> ToSystemTime(ce::DATE date) {
  if (!(date > kFirstDay - 1 && date < kDayAfterLast)) return std::nullopt;
  double whole = 0;
  const double fraction = std::abs(std::modf(date, &whole));
  const sys_seconds time = kDayZero + days(static_cast<long>(whole)) + seconds(std::lround(fraction * kDaySeconds));
  const auto day = floor<days>(time);
  const year_month_day calendar(day);
  const hh_mm_ss clock(time - day);
  if (static_cast<int>(calendar.year()) > 9999) return std::nullopt;
  return ce::SYSTEMTIME{.wYear = static_cast<ce::WORD>(static_cast<int>(calendar.year())),
                        .wMonth = static_cast<ce::WORD>(static_cast<unsigned>(calendar.month())),
                        .wDayOfWeek = static_cast<ce::WORD>(weekday(day).c_encoding()),
                        .wDay = static_cast<ce::WORD>(static_cast<unsigned>(calendar.day())),
                        .wHour = static_cast<ce::WORD>(clock.hours().count()),
                        .wMinute = static_cast<ce::WORD>(clock.minutes().count()),
                        .wSecond = static_cast<ce::WORD>(clock.seconds().count()),
                        .wMilliseconds = 0};
}

std::optional<ce::DATE> ToDate(const ce::SYSTEMTIME& time) {
  const year_month_day calendar(year(time.wYear), month(time.wMonth), day(time.wDay));
  if (!calendar.ok() || time.wYear < 100 || time.wYear > 9999 || time.wHour > 23 || time.wMinute > 59 ||
      time.wSecond > 59) {
    return std::nullopt;
  }
  const auto whole = static_cast<double>((sys_days(calendar) - kDayZero).count());
  const double fraction = (time.wHour * 3600 + time.wMinute * 60 + time.wSecond) / static_cast<double>(kDaySeconds);
  return whole < 0 ? whole - fraction : whole + fraction;
}

}  // namespace handset

namespace ce {

using handset::Call;
using handset::Enter;
using handset::ThisPhone;

BSTR SysAllocString(LPCWSTR text) {
  handset::Phone& phone = ThisPhone();
  return Enter<Call::SysAllocString>(
      phone, [&] { return text == nullptr ? nullptr : handset::NewString(phone.ledger, text); });
}

void SysFreeString(BSTR text) {
  if (text != nullptr) handset::FreeBlock(handset::BlockOf(text));
}

INT VariantTimeToSystemTime(DATE date, SYSTEMTIME* time) {
  return Enter<Call::VariantTimeToSystemTime>(ThisPhone(), [&] {
    const auto converted = handset::ToSystemTime(date);
    if (converted && time != nullptr) *time = *converted;
    return INT{converted && time != nullptr};
  });
}

INT SystemTimeToVariantTime(SYSTEMTIME* time, DATE* date) {
  return Enter<Call::SystemTimeToVariantTime>(ThisPhone(), [&] {
    const auto converted = time != nullptr ? handset::ToDate(*time) : std::nullopt;
    if (converted && date != nullptr) *date = *converted;
    return INT{converted && date != nullptr};
  });
}

}  // namespace ce
