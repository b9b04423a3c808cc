// What the agent on a phone answers, byte for byte, to a desktop that asks for everything there is: contacts,
// appointments, calls and messages. The phone is a folder; the agent runs inside the test, with virtual time.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/Bytes.h"

namespace test {

// Of one request.
struct PhoneAnswer {
  std::string about;  // "contact 3", "SMS/Inbox message 2"
  std::uint32_t result = 0;
  Bytes reply;  // length field and data as they came

  // What follows the result.
  std::string_view Document() const;
};

struct PhoneAnswers {
  std::vector<PhoneAnswer> contacts, appointments, calls;
  std::vector<PhoneAnswer> names;     // the accounts, then the folders of each account
  std::vector<PhoneAnswer> messages;  // of each folder: selecting it, its count, and one message more than there are
};

// Every item, and once behind the last one. Folders are those that the phone lists, in its order; of each, so many
// messages are asked for.
PhoneAnswers AskEverything(const std::filesystem::path& phone, int messages);

}  // namespace test
