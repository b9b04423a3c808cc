#include "handset/store/SmsRows.h"

#include "handset/store/RowValues.h"

namespace handset {

namespace {

using SQLite::Database;
using SQLite::Statement;
using N = std::uint32_t;

// What the phone's library calls no message.
constexpr N kNoMessage = 0xFFFFFFFF;

constexpr const char* kSelectOutbox =
    "SELECT message, sent_time, destination, text, service_centre, options, class, replace_option, encoding, queries "
    "FROM outbox ";

OutboxMessage ReadOutboxMessage(Statement& row) {
  return {.id = Number<N>(row.getColumn(0)),
          .sent = row.getColumn(1).getInt64(),
          .to = Text(row.getColumn(2)),
          .text = Text(row.getColumn(3)),
          .serviceCentre = OptionalText(row.getColumn(4)),
          .options = Number<N>(row.getColumn(5)),
          .messageClass = Number<N>(row.getColumn(6)),
          .replaceOption = Number<N>(row.getColumn(7)),
          .encoding = Number<N>(row.getColumn(8)),
          .queries = Number<N>(row.getColumn(9))};
}

std::optional<N> OptionalCode(const SQLite::Column& column) {
  if (column.isNull()) return std::nullopt;
  return Number<N>(column);
}

void InsertOutboxMessage(Database& database, const OutboxMessage& message) {
  Insert(database,
         "INSERT INTO outbox (message, sent_time, destination, text, service_centre, options, class, replace_option, "
         "encoding, queries) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
         message.id, message.sent, message.to, message.text, message.serviceCentre, message.options,
         message.messageClass, message.replaceOption, message.encoding, message.queries);
}

void InsertRule(Database& database, const SmsRule& rule) {
  Insert(database, "INSERT INTO sms_rule (destination, refused) VALUES (?, ?)", rule.to, rule.refused);
  const std::int64_t position = database.getLastInsertRowid();
  for (const SmsStep& step : rule.steps) {
    Insert(database, "INSERT INTO sms_step (rule, queries, status0, status1, result) VALUES (?, ?, ?, ?, ?)", position,
           step.queries, step.status[0], step.status[1], step.result);
  }
}

std::vector<SmsStep> SelectSteps(const Database& database, std::int64_t rule) {
  Statement rows(database, "SELECT queries, status0, status1, result FROM sms_step WHERE rule = ? ORDER BY position");
  Bind(rows, 1, rule);
  std::vector<SmsStep> steps;
  while (rows.executeStep()) {
    steps.push_back({Number<N>(rows.getColumn(0)),
                     {Number<N>(rows.getColumn(1)), Number<N>(rows.getColumn(2))},
                     OptionalCode(rows.getColumn(3))});
  }
  return steps;
}

}  // namespace

void InsertSms(Database& database, const Sms& sms, const std::vector<OutboxMessage>& outbox) {
  Insert(database, "INSERT INTO sms VALUES (1, ?)", sms.nextId);
  for (const SmsRule& rule : sms.delivery) InsertRule(database, rule);
  for (const OutboxMessage& message : outbox) InsertOutboxMessage(database, message);
}

Sms SelectSms(const Database& database) {
  Sms sms;
  Statement next(database, "SELECT next_message FROM sms");
  if (next.executeStep()) sms.nextId = Number<N>(next.getColumn(0));
  Statement rules(database, "SELECT position, destination, refused FROM sms_rule ORDER BY position");
  while (rules.executeStep()) {
    sms.delivery.push_back({OptionalText(rules.getColumn(1)), OptionalCode(rules.getColumn(2)),
                            SelectSteps(database, rules.getColumn(0).getInt64())});
  }
  return sms;
}

std::vector<OutboxMessage> SelectOutbox(const Database& database) {
  Statement rows(database, std::string(kSelectOutbox) + "ORDER BY position");
  std::vector<OutboxMessage> messages;
  while (rows.executeStep()) messages.push_back(ReadOutboxMessage(rows));
  return messages;
}

std::optional<OutboxMessage> SelectOutboxMessage(const Database& database, N id) {
  Statement row(database, std::string(kSelectOutbox) + "WHERE message = ?");
  Bind(row, 1, id);
  if (!row.executeStep()) return std::nullopt;
  return ReadOutboxMessage(row);
}

N AddToOutbox(Database& database, const OutboxMessage& message) {
  N id = SelectSms(database).nextId;
  while (id == kNoMessage || SelectOutboxMessage(database, id)) ++id;
  OutboxMessage added = message;
  added.id = id;
  InsertOutboxMessage(database, added);
  Insert(database, "INSERT OR REPLACE INTO sms VALUES (1, ?)", static_cast<N>(id + 1));
  return id;
}

void CountQuery(Database& database, N id) {
  Insert(database, "UPDATE outbox SET queries = queries + 1 WHERE message = ?", id);
}

}  // namespace handset
