#include "agent/modules/phone/AddressRule.h"

#include "agent/engine/Codecs.h"

// The rule works on bytes as they are written, whatever the length of the text: no other character has a byte that is
// one of those it looks for.
void WriteAddress(CReplyWriter& reply, std::u16string_view address) {
  const bool quoted = address.starts_with(u'"') && address.find(u'"', 1) != std::u16string_view::npos;
  if (!quoted) {
    return reply.Utf8(address);
  }
  int quotations = 0;
  bool ended = false;
  codecs::EncodeUtf8(address, [&](std::uint8_t byte) {
    const bool rewrites = quotations >= 2;
    quotations += byte == '"' ? 1 : 0;
    if (ended) {
      return;
    }
    if (rewrites && byte == '<') {
      reply.Text("(((");
    } else if (rewrites && byte == '>') {
      reply.Text(")))");
      ended = true;
    } else {
      reply.U8(byte);
    }
  });
}
