// The tables of text messages. All functions throw SQLite::Exception.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include "handset/store/Description.h"

namespace handset {

void InsertSms(SQLite::Database& database, const Sms& sms, const std::vector<OutboxMessage>& outbox);
Sms SelectSms(const SQLite::Database& database);
// In the order in which they were sent.
std::vector<OutboxMessage> SelectOutbox(const SQLite::Database& database);
std::optional<OutboxMessage> SelectOutboxMessage(const SQLite::Database& database, std::uint32_t id);

// Gives the message an id that no other one has, and keeps it. Returns the id.
std::uint32_t AddToOutbox(SQLite::Database& database, const OutboxMessage& message);
// One more query for its status.
void CountQuery(SQLite::Database& database, std::uint32_t id);

}  // namespace handset
