// The desktop's reading of call entries, messages and lists of names that a phone may send, whatever they hold. The
// first byte chooses which.
#include <cstdlib>
#include <string_view>

#include "desktop/Failure.h"
#include "desktop/Text.h"
#include "desktop/calls/CallLog.h"
#include "desktop/messages/Message.h"

namespace {

// What was read is no longer than what was given, but for what replaces bytes of no character: three for one.
void Need(bool holds) {
  if (!holds) std::abort();
}

void ReadCall(std::string_view document) {
  const brelix::Call call = brelix::ReadCall(document);
  Need(call.DurationSeconds().value_or(0) >= 0);
  for (const auto& text : {call.number, call.phone_type, call.name})
    Need(!text || (!text->empty() && text->size() <= 3 * document.size() && brelix::CleanUtf8(*text) == *text));
}

void ReadMessage(std::string_view document) {
  const brelix::Message message = brelix::ReadMessage(document);
  Need(message.recipients.size() <= document.size());
  Need(message.recipients.empty() || message.direction == brelix::Message::Direction::kOutgoing);
  for (const auto& text : {message.sender, message.address, message.subject})
    Need(!text || (text->size() <= 3 * document.size() && brelix::CleanUtf8(*text) == *text));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view document(reinterpret_cast<const char*>(bytes) + 1, size - 1);
  try {
    switch (bytes[0] % 3) {
      case 0:
        ReadCall(document);
        break;
      case 1:
        ReadMessage(document);
        break;
      default:
        Need(brelix::ReadNames(document, "folders").names.size() <= document.size());
    }
  } catch (const brelix::Failure& failure) {
    Need(failure.code() == brelix::Exit::kProtocol);
  }
  return 0;
}
