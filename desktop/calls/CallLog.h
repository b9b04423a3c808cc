// The phone's call history: its entries, newest first, as the agent reads them one by one.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "desktop/Client.h"
#include "desktop/ItemWalk.h"

namespace brelix {

// What is unknown, or stands for a value outside the protocol, is an empty optional.
struct Call {
  std::optional<LocalTime> start, end;   // by the phone's clock, although marked as UTC on the wire
  std::optional<std::string> direction;  // missed, incoming or outgoing
  std::optional<std::string> progress;   // of an outgoing call: connected, ended or roaming
  std::optional<std::string> caller_id;  // unavailable, blocked or available
  std::optional<std::string> number, phone_type, name;
  bool ambiguous = false;  // number, phone type and name could be told apart in another way

  // Nothing unless both times are known and the end is not before the start.
  std::optional<int64_t> DurationSeconds() const;
};

// Reads a `logentry` document. Where the phone had no word for a value, its place holds bytes of earlier answers: they
// are passed over, and the value is unknown. Throws a protocol failure for anything else that is no such document.
Call ReadCall(std::string_view document);

class CallLog {
 public:
  // The session is open.
  explicit CallLog(Session& session) : session_(session) {}

  // Goes to the newest entry; the number of entries modulo 65536.
  uint32_t Rewind();

 private:
  friend uint64_t WalkCalls(CallLog& log, const ItemWalk<Call>& walk);

  Session& session_;
};

// All entries from the newest on, after going to it. Returns how many could not be read. Throws when so many in a row
// cannot that nothing more will come.
uint64_t WalkCalls(CallLog& log, const ItemWalk<Call>& walk);

}  // namespace brelix
