#include "desktop/TimeZone.h"

#include <cstdlib>
#include <date/tz.h>
#include <fmt/format.h>

#include "desktop/Failure.h"

namespace brelix {
namespace {

const date::time_zone& Find(const std::string& name) {
  try {
    return *date::locate_zone(name);
  } catch (const std::runtime_error&) {
    throw Failure(Exit::kUsage,
                  fmt::format("--tz: there is no time zone \"{}\" on this computer; zones have names like "
                              "Europe/Prague or UTC",
                              name));
  }
}

std::string Local(std::chrono::seconds since_epoch, char between) {
  const date::sys_seconds point{since_epoch};
  const auto day = date::floor<date::days>(point);
  const date::year_month_day date(day);
  const date::hh_mm_ss<std::chrono::seconds> time(point - day);
  return fmt::format("{:04}-{:02}-{:02}{}{:02}:{:02}:{:02}", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), between,
                     time.hours().count(), time.minutes().count(), time.seconds().count());
}

}  // namespace

void CheckTimeZone(const std::string& name) { Find(name); }

std::string TimeText(std::chrono::sys_seconds utc, char between, const std::string& zone) {
  const auto since_epoch = utc.time_since_epoch();
  if (zone.empty()) return Local(since_epoch, between) + "Z";
  const std::chrono::seconds offset = Find(zone).get_info(date::sys_seconds(since_epoch)).offset;
  const auto minutes = std::abs(offset.count()) / 60;  // seconds of an offset are of the nineteenth century
  return fmt::format("{}{}{:02}:{:02}", Local(since_epoch + offset, between), offset.count() < 0 ? '-' : '+',
                     minutes / 60, minutes % 60);
}

}  // namespace brelix
