// Values of a phone's documents as its database has them: the very value for which an agent writes these bytes again.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "desktop/backup/RawDocument.h"

namespace brelix::backup {

// An agent shows a text as empty when the number of its first character's unit is a multiple of 256. Of such a text
// nothing arrives; this one, which is no letter of any script, is shown in the same way.
inline constexpr std::u16string_view kUnreadable = u"\uE000";

// The phone's text. Bytes that no agent makes of a text become the nearest that there is.
std::u16string TextOf(std::string_view raw, std::string_view what, Losses& losses);
// The same of an element that agents write only when the text is not empty: an empty one says that it is unreadable.
std::u16string NeededText(std::string_view raw, std::string_view what, Losses& losses);

// "20090712T134501Z" as days since 30 December 1899. Where agents have no date to write they write zeros, and of what
// is given here for zeros they do so again.
double DateOf(std::string_view raw, std::string_view what, Losses& losses);
// The same as steps of 100 ns since 1601; local minus UTC is taken off.
int64_t FileTimeOf(std::string_view raw, std::chrono::minutes utc_offset, std::string_view what, Losses& losses);

// A decimal number as agents write it; nothing, and a loss, for anything else.
std::optional<int64_t> NumberOf(std::string_view raw, int64_t least, int64_t most, std::string_view what,
                                Losses& losses);

}  // namespace brelix::backup
