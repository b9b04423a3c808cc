// Lines of the documents that modules answer.
#pragma once

#include <string_view>

#include "agent/engine/ReplyWriter.h"

namespace document {

// The indent, "<name>", what write() puts into the reply, "</name>" and a line feed.
template <class Write>
void Element(CReplyWriter& reply, std::string_view indent, std::string_view name, Write write) {
  reply.Text(indent);
  reply.Text("<");
  reply.Text(name);
  reply.Text(">");
  write();
  reply.Text("</");
  reply.Text(name);
  reply.Text(">\n");
}

// With two blanks in front, as most documents have it.
template <class Write>
void Element(CReplyWriter& reply, std::string_view name, Write write) {
  Element(reply, "  ", name, write);
}

// A date of the phone as its calendar has it, without a shift between time zones. Chosen: one that is none has zeros.
void Date(CReplyWriter& reply, std::string_view name, ce::DATE date);

}  // namespace document
