#include "handset/store/CallRows.h"

#include "handset/store/RowValues.h"

namespace handset {

namespace {

using SQLite::Database;
using SQLite::Statement;

constexpr const char* kSelect =
    "SELECT start_time, end_time, direction, flags, caller_id, number, name, phone_type, note FROM call ";

CallEntry ReadCall(Statement& row) {
  using N = std::uint32_t;
  return {.start = row.getColumn(0).getInt64(),
          .end = row.getColumn(1).getInt64(),
          .direction = Number<N>(row.getColumn(2)),
          .flags = Number<N>(row.getColumn(3)),
          .callerId = Number<N>(row.getColumn(4)),
          .number = OptionalText(row.getColumn(5)),
          .name = OptionalText(row.getColumn(6)),
          .phoneType = OptionalText(row.getColumn(7)),
          .note = OptionalText(row.getColumn(8))};
}

}  // namespace

void InsertCalls(Database& database, const std::vector<CallEntry>& calls) {
  Statement insert(database,
                   "INSERT INTO call (start_time, end_time, direction, flags, caller_id, number, name, phone_type, "
                   "note) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)");
  for (const CallEntry& call : calls) {
    Execute(insert, call.start, call.end, call.direction, call.flags, call.callerId, call.number, call.name,
            call.phoneType, call.note);
  }
}

std::vector<CallEntry> SelectCalls(const Database& database) {
  Statement rows(database, std::string(kSelect) + "ORDER BY id");
  std::vector<CallEntry> calls;
  while (rows.executeStep()) calls.push_back(ReadCall(rows));
  return calls;
}

std::vector<std::int64_t> SelectCallIds(const Database& database) {
  Statement rows(database, "SELECT id FROM call ORDER BY start_time DESC, id");
  std::vector<std::int64_t> ids;
  while (rows.executeStep()) ids.push_back(rows.getColumn(0).getInt64());
  return ids;
}

std::optional<CallEntry> SelectCall(const Database& database, std::int64_t id) {
  Statement row(database, std::string(kSelect) + "WHERE id = ?");
  Bind(row, 1, id);
  if (!row.executeStep()) return std::nullopt;
  return ReadCall(row);
}

}  // namespace handset
