// The document of one message. Its text is never sent.
#pragma once

#include "agent/engine/ReplyWriter.h"
#include "platform/Mapi.h"

// Writes the declaration and the document of a row of the folder's messages, as CMailPath opens them.
void WriteMessage(CReplyWriter& reply, ce::IMAPIFolder& folder, const ce::SRow& row);
