// The documents of the phone's message store.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brelix {

// What a phone tells of a recipient.
struct Recipient {
  std::optional<std::string> name, address;  // the address is a telephone number or an e-mail address
};

struct Message {
  enum class Direction { kIncoming, kOutgoing };
  Direction direction = Direction::kIncoming;
  std::optional<std::chrono::sys_seconds> time;  // of delivery, UTC
  std::optional<std::string> sender, address;    // of an incoming message
  std::vector<Recipient> recipients;             // of an outgoing one
  std::optional<std::string> subject;            // of an SMS, its text
  // The document can be read in another way, or it does not tell which name belongs to which address, or which
  // parentheses of the address were angle brackets.
  bool ambiguous = false;
};

// Reads a `message` document; throws a protocol failure when it is none.
Message ReadMessage(std::string_view document);

struct Names {
  std::vector<std::string> names;  // an empty one is possible, and may stand for a name that the wire cannot carry
  bool ambiguous = false;
};

// Reads an `accounts` or `folders` document.
Names ReadNames(std::string_view document, std::string_view root);

// The address of a sender that begins with a quoted name arrives with three parentheses for each angle bracket. Turns
// them back; `ambiguous` is set when they may have been parentheses all along.
std::string RestoreSenderAddress(std::string_view address, bool& ambiguous);

}  // namespace brelix
