// How the address of a sender is written.
#pragma once

#include <string_view>

#include "agent/engine/ReplyWriter.h"

// Writes an address as UTF-8. One that begins with a quoted name keeps it; behind the name "<" becomes "(((", and the
// first ">" becomes ")))" and ends the text, so that no tag seems to stand there. Any other address is written as it
// is. Chosen: so is one that opens a quotation and never closes it.
void WriteAddress(CReplyWriter& reply, std::u16string_view address);
