#include "agent/modules/pim/ItemDocument.h"

#include "platform/Automation.h"

namespace item_document {

void Date(CReplyWriter& reply, std::string_view name, ce::DATE date) {
  ce::SYSTEMTIME time{};
  if (ce::VariantTimeToSystemTime(date, &time) == 0) {
    time = {};
  }
  Element(reply, name, [&] { reply.Timestamp(time); });
}

}  // namespace item_document
