#include "desktop/messages/Message.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>

#include "desktop/Client.h"
#include "desktop/Elements.h"
#include "desktop/Text.h"

namespace brelix {
namespace {

constexpr std::array<ElementRule, 5> kIncoming = {
    {{"direction", 0}, {"time", 1}, {"sender", 2}, {"phone_or_email", 3}, {"subject", 4}}};
constexpr std::array<ElementRule, 5> kOutgoing = {
    {{"direction", 0}, {"time", 1}, {"recipient", 2, true}, {"phone_or_email", 2, true}, {"subject", 3}}};
constexpr std::array<ElementRule, 1> kNames = {{{"name", 0, true}}};

constexpr size_t kBrackets = 3;  // parentheses for one angle bracket

std::optional<std::chrono::sys_seconds> UtcTime(std::string_view text) {
  using namespace std::chrono;
  const auto time = ParseTimestamp(text);
  if (!time) return std::nullopt;
  const year_month_day date{year(time->year), month(time->month), day(time->day)};
  if (!date.ok()) return std::nullopt;
  return sys_days(date) + hours(time->hour) + minutes(time->minute) + seconds(time->second.value_or(0));
}

void SetText(std::optional<std::string>& to, std::string_view raw) {
  if (!raw.empty()) to = CleanUtf8(raw);
}

// A phone tells each recipient's name and then its address, and leaves out what it does not have. Where the first has
// an address only, it may be one that tells addresses first: then the names belong elsewhere.
void AddRecipients(const std::vector<ElementText>& elements, Message& message) {
  bool address_allowed = false;  // the latest recipient has a name, and no address yet
  for (const auto& [name, text] : elements) {
    if (name == "recipient") {
      if (!message.recipients.empty() && !message.recipients.front().name) message.ambiguous = true;
      SetText(message.recipients.emplace_back().name, text);
      address_allowed = true;
    } else if (name == "phone_or_email") {
      if (!address_allowed) message.recipients.emplace_back();
      SetText(message.recipients.back().address, text);
      address_allowed = false;
    }
  }
}

size_t RunLength(std::string_view text, char c) { return std::min(text.find_first_not_of(c), text.size()); }

}  // namespace

std::string RestoreSenderAddress(std::string_view address, bool& ambiguous) {
  const size_t quoted = address.starts_with('"') ? address.find('"', 1) : address.npos;
  if (quoted == address.npos) return std::string(address);
  std::string out(address.substr(0, quoted + 1));
  std::string_view rest = address.substr(quoted + 1);
  // The phone ends the text with its first closing bracket.
  const bool closed = rest.ends_with(")))");
  if (closed) rest.remove_suffix(kBrackets);
  if (closed && rest.ends_with(')')) ambiguous = true;
  while (!rest.empty()) {
    const size_t run = RunLength(rest, '(');
    if (run % kBrackets != 0 && run > kBrackets) ambiguous = true;
    out.append(run / kBrackets, '<').append(run % kBrackets, '(');
    rest.remove_prefix(run);
    const size_t plain = std::min(rest.find('('), rest.size());
    out += rest.substr(0, plain);
    rest.remove_prefix(plain);
  }
  if (closed) out += '>';
  return out;
}

Message ReadMessage(std::string_view document) {
  const std::string_view body = InsideRoot(document, "message");
  const size_t tag = body.find("<direction>");
  const bool outgoing = tag != body.npos && body.substr(tag).starts_with("<direction>outgoing</direction>");
  const Reading reading = outgoing ? ReadElements(body, kOutgoing) : ReadElements(body, kIncoming);
  if (reading.elements.empty() || reading.elements.front().text != (outgoing ? "outgoing" : "incoming"))
    throw Failure(Exit::kProtocol, "the phone's message has no direction");

  Message message;
  message.direction = outgoing ? Message::Direction::kOutgoing : Message::Direction::kIncoming;
  message.ambiguous = reading.ambiguous;
  for (const auto& [name, text] : reading.elements) {
    if (name == "time") message.time = UtcTime(text);
    if (name == "sender") SetText(message.sender, text);
    if (name == "subject") SetText(message.subject, text);
    if (!outgoing && name == "phone_or_email" && !text.empty())
      message.address = RestoreSenderAddress(CleanUtf8(text), message.ambiguous);
  }
  if (outgoing) AddRecipients(reading.elements, message);
  return message;
}

Names ReadNames(std::string_view document, std::string_view root) {
  const Reading reading = ReadElements(InsideRoot(document, root), kNames);
  Names names{{}, reading.ambiguous};
  for (const ElementText& element : reading.elements) names.names.push_back(CleanUtf8(element.text));
  return names;
}

}  // namespace brelix
