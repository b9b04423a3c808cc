// Conversations as data: a phone, and what a desktop says to it and hears back, byte for byte. The same files run
// against every build of the agent.
//
//   # a comment
//   mode listen                      sessions over a socket, a host program's agent (default: remote-API stream)
//   phone                            a description (docs/handset.md), to a line "end"
//   { "lines": [] }
//   end
//   say 3/9 #0102 00000001 "text"    a request: module/command, packet number, data
//   say raw 58*5 "XX"                bytes as they are
//   hear 3/10 #0102 00000000         the reply; hear default #0102 is module 1, command 0, no data
//   hear 1/2 #0102 length=12 ...     a reply whose length field is not its data's length
//   hear raw ...
//   hang up                          the desktop has said all it has to say
//   next session                     the desktop leaves and another one comes (mode listen)
//   hear end                         the agent closes the stream
//
// Data: hex digits, "text" with \n \r \" \\ escapes, either followed by *N to repeat it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/Bytes.h"

namespace test {

struct Step {
  enum class Kind { kSay, kHear, kHangUp, kNextSession, kHearEnd } kind;
  Bytes bytes;
  int line;
};

struct Conversation {
  bool listens = false;
  std::string phone = "{}";
  std::vector<Step> steps;
};

// Throws std::runtime_error that names file and line.
Conversation ReadConversation(const std::filesystem::path& file);

}  // namespace test
