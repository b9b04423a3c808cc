// A table of stores, folders, messages or recipients.
#pragma once

#include <functional>
#include <vector>

#include "handset/mail/Properties.h"
#include "handset/store/MailRows.h"
#include "platform/Mapi.h"

namespace handset {

// Where a table gets its rows from. The ids are asked for once, before the first row is read, so that a table shows
// what was there then; a row is read when it is handed out.
struct TableSource {
  std::function<std::vector<std::int64_t>(MessageOrder order)> ids;
  std::function<Properties(std::int64_t id)> read;
  // By delivery time; other tables have no order but their own.
  bool sorts = false;
};

// With one reference.
ce::IMAPITable* NewTable(Phone& phone, TableSource source);

}  // namespace handset
