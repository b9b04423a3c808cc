// Sending short messages through the phone, and asking what became of them.
#pragma once

#include <cstdint>
#include <string>

#include "desktop/Session.h"

namespace brelix {

struct SmsRequest {
  std::string number;
  std::string text;
  std::string service_centre{};  // empty: the one that is set on the phone
  bool report = false;           // ask the network for a delivery report
};

// The request's data. Throws a usage failure for a number that is none, and a would-lose-data failure for a text that
// would not arrive as it is: one that the phone would cut short, or that does not fit into a request.
Bytes BuildSms(const SmsRequest& request);

// The message's id on the phone. When the connection ends before the answer, the failure says that it may be sent.
uint32_t SendSms(Session& session, const SmsRequest& request);

// Returns when the phone's service knows the message, and throws a phone-error failure when it does not, or has no
// status of it, as when no delivery report was asked for. More does not come over the wire: the two words that tell the
// progress are counted in the answer's length field, but not sent.
void AskSmsStatus(Session& session, uint32_t id);

}  // namespace brelix
