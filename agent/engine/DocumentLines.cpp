#include "agent/engine/DocumentLines.h"

#include "platform/Automation.h"

namespace document {

void Date(CReplyWriter& reply, std::string_view name, ce::DATE date) {
  ce::SYSTEMTIME time{};
  if (ce::VariantTimeToSystemTime(date, &time) == 0) {
    time = {};
  }
  Element(reply, name, [&] { reply.Timestamp(time); });
}

}  // namespace document
