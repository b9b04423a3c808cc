// What the headers of a mail say, as far as a phone's message store has a place for it.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brelix {

struct Mailbox {
  std::optional<std::string> name, address;  // UTF-8; the address is one of e-mail, or a telephone number
};

struct Letter {
  std::optional<Mailbox> from;
  std::vector<Mailbox> to;  // To, then Cc
  std::optional<std::string> subject;
  std::optional<std::chrono::sys_seconds> date;  // UTC
  std::optional<bool> outgoing;                  // where an X-Direction header says it
};

// A telephone number is no address of RFC 5322, so a mail file has it in front of this domain, which cannot exist.
inline constexpr std::string_view kPhoneDomain = "@phone.invalid";
// In front of it, where there is no address at all, and for the owner of the phone.
inline constexpr std::string_view kNobody = "unknown";
inline constexpr std::string_view kOwner = "owner";

}  // namespace brelix
