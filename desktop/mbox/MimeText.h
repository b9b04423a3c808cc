// Header fields of mail: their decoding (RFC 5322, RFC 2047 and what is found besides) and their encoding.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desktop/mbox/Letter.h"

namespace brelix {

// The value of a field, unfolded. The outcome is proper UTF-8.
std::string DecodeText(const std::string& value);
// Members of groups one by one. A telephone number comes back without its domain, nobody without an address.
std::vector<Mailbox> DecodeAddresses(const std::string& value);
std::optional<std::chrono::sys_seconds> DecodeDate(const std::string& value);

// A value for a field whose text is free: as it is where that is short printable ASCII, else encoded words, folded.
std::string EncodeText(std::string_view utf8);
// One address of RFC 5322. What cannot stand in one goes into the name, in parentheses.
std::string EncodeAddress(const Mailbox& mailbox);
// "Sun, 12 Jul 2009 13:45:01 +0000"
std::string EncodeDate(std::chrono::sys_seconds time);

}  // namespace brelix
