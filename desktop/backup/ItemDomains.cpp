#include "desktop/backup/ItemDomains.h"

#include <chrono>
#include <fmt/format.h>

#include "handset/store/FileTime.h"

namespace brelix::backup {

void LossTeller::Tell(const std::string& what, std::string why) const {
  if (why.starts_with(prefix_)) why.erase(0, prefix_.size());
  watch_.Lost({what, fmt::format("{}: {}", what, why)});
}

void LossTeller::Tell(const std::string& what, const Losses& losses) const {
  for (const Loss& loss : losses) Tell(what, fmt::format("{} {}", loss.what, loss.why));
}

// A usage failure is that of a name that cannot be said to a phone.
bool LossTeller::ConcernsOneThing(const Failure& failure) {
  return failure.code() == Exit::kPhoneError || failure.code() == Exit::kProtocol || failure.code() == Exit::kRefused ||
         failure.code() == Exit::kUsage;
}

void FallingTimes::Next(std::optional<int64_t> time) {
  if (last_ && *last_ < time) rises_++;
  last_ = time;
}

void FallingTimes::Finish(const LossTeller& losses, const std::string& what) const {
  if (rises_ == 0) return;
  losses.Tell(what, fmt::format("the phone does not list them by time ({} of them); the backup does", rises_));
}

std::string OidKey(uint32_t oid) { return fmt::format("{:010}", oid); }

std::string TimeKey(std::optional<int64_t> file_time) {
  using namespace std::chrono;
  if (!file_time) return "";
  const auto time = sys_time<seconds>(floor<seconds>(handset::SinceUnixStart(*file_time)));
  const auto midnight = floor<days>(time);
  const year_month_day day(midnight);
  const hh_mm_ss clock(time - midnight);
  const int year = static_cast<int>(day.year());
  // "~" is greater than every digit. What is behind the last time that a phone can say is none.
  if (year > 30827) return "~no time";
  return fmt::format("{}{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", year > 9999 ? "~" : "", year,
                     static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()), clock.hours().count(),
                     clock.minutes().count(), clock.seconds().count());
}

}  // namespace brelix::backup
