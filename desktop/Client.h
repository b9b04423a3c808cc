// A phone as a desktop program sees it: one call per question, typed answers.
//
//     Session session(Connect("tcp:192.0.2.7:2001", deadline, -1), {});
//     Client phone(session);
//     phone.Start();
//     auto info = phone.PermanentInfo();
//
// What the phone does not know is an empty optional. Failures are thrown as Failure.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "desktop/Session.h"

namespace brelix {

// By the phone's own clock and in the phone's own time zone, which it does not tell.
struct LocalTime {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0;
  std::optional<int> second;
};

struct PermanentInfo {
  std::optional<std::string> manufacturer, model, radio_version, imei, os_version, storage_card;
};

struct VolatileInfo {
  std::optional<LocalTime> phone_time;
  std::optional<int64_t> memory_load_percent, memory_total, memory_available;
  std::optional<bool> ac_power;
  std::optional<std::string> battery;  // high, low, critical, charging or absent
  std::optional<int64_t> battery_percent;
};

class Client {
 public:
  explicit Client(Session& session) : session_(session) {}

  // Handshake and open.
  LocalTime Start();
  LocalTime Open();
  std::optional<std::string> SerialNumber();
  std::optional<std::string> SubscriberNumber();
  brelix::PermanentInfo PermanentInfo();
  brelix::VolatileInfo VolatileInfo();

 private:
  Session& session_;
};

// The one date and time form of the phone's documents, "20090712T134501Z"; nothing for any other text or for a time
// that does not exist. Whether it is local or not depends on the element.
std::optional<LocalTime> ParseTimestamp(std::string_view text);
// "2009-07-12 13:45:01", or without the seconds where they are not known.
std::string TimeText(const LocalTime& time, char between_date_and_time);

}  // namespace brelix
