#include "desktop/sms/Sms.h"

#include <fmt/format.h>

#include "desktop/Failure.h"
#include "desktop/Text.h"
#include "desktop/Wire.h"

namespace brelix {
namespace {

constexpr size_t kMostData = wire::kMaxRequest - wire::kFrameOverhead;
constexpr size_t kLongestNumber = 255;  // UTF-16 units of an address on the phone, its terminator left out

void CheckNumber(const char* what, const std::string& number) {
  const bool valid = number.find_first_of("0123456789") != number.npos &&
                     number.find_first_not_of("0123456789*#", number.starts_with('+') ? 1 : 0) == number.npos;
  if (!valid)
    throw Failure(Exit::kUsage,
                  fmt::format("the {} \"{}\" is not a telephone number: digits, * and #, with a + in front if need be",
                              what, number));
  if (number.size() > kLongestNumber)
    throw Failure(Exit::kUsage, fmt::format("the {} has {} characters; a phone takes no more than {}", what,
                                            number.size(), kLongestNumber));
}

void Append(Bytes& data, std::string_view text) {
  data.insert(data.end(), text.begin(), text.end());
  data.push_back(0);
}

}  // namespace

Bytes BuildSms(const SmsRequest& request) {
  CheckNumber("number", request.number);
  if (!request.service_centre.empty()) CheckNumber("service centre", request.service_centre);
  const auto text = ToWireText(request.text);
  if (!text) throw Failure(Exit::kUsage, "the text is not UTF-8");
  if (const size_t at = text->find(wire::kEndMark); at != text->npos)
    throw Failure(Exit::kWouldLoseData,
                  fmt::format("the text has \"{}\" from byte {} on, which would end the request there; write it "
                              "differently",
                              wire::kEndMark, at + 1));
  Bytes data{static_cast<uint8_t>(request.report ? 1 : 0)};
  Append(data, request.service_centre);
  Append(data, request.number);
  Append(data, *text);
  if (data.size() > kMostData)
    throw Failure(Exit::kWouldLoseData, fmt::format("the text has {} bytes, {} more than fit into a request",
                                                    text->size(), data.size() - kMostData));
  return data;
}

uint32_t SendSms(Session& session, const SmsRequest& request) {
  const Bytes message = BuildSms(request);
  Result sent;
  try {
    sent = session.AskResult(wire::kMessaging, wire::kSendSms, message);
  } catch (const Failure& failure) {
    if (failure.code() != Exit::kLinkLost && failure.code() != Exit::kInterrupted) throw;
    throw Failure(failure.code(), fmt::format("{}; the message may have been sent all the same", failure.what()));
  }
  if (sent.code != 0)
    throw Failure(Exit::kPhoneError, "the phone did not send the message: " + PhoneErrorText(sent.code));
  if (sent.data.size() < 4)
    throw Failure(Exit::kProtocol, fmt::format("{}: the message was sent, but the answer has {} bytes instead of 8",
                                               session.address(), sent.data.size() + 4));
  return Read32(sent.data, 0);
}

void AskSmsStatus(Session& session, uint32_t id) {
  Bytes data(8);  // the phone takes eight and reads four
  for (size_t i = 0; i < 4; i++) data[i] = static_cast<uint8_t>(id >> (24 - 8 * i));
  const Result status = session.AskResult(wire::kMessaging, wire::kSmsStatus, data);
  if (status.code != 0)
    throw Failure(Exit::kPhoneError,
                  fmt::format("the phone tells nothing of message {}: {}", id, PhoneErrorText(status.code)));
}

}  // namespace brelix
