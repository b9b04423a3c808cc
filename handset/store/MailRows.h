// The tables of accounts, folders and messages. All functions throw SQLite::Exception.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include "handset/store/Description.h"

namespace handset {

void InsertAccounts(SQLite::Database& database, const std::vector<MailAccount>& accounts);
std::vector<MailAccount> SelectAccounts(const SQLite::Database& database);

// One by one, without what they contain. Give the new row's id.
std::int64_t InsertAccount(SQLite::Database& database, const std::optional<std::u16string>& name);
std::int64_t InsertFolder(SQLite::Database& database, std::int64_t account, std::int64_t parent,
                          const MailFolder& folder);
void UpdateFolderCount(SQLite::Database& database, std::int64_t folder, bool tellsCount,
                       std::optional<std::uint32_t> reportedCount);
// For many messages one after the other.
class MessageWriter {
 public:
  explicit MessageWriter(SQLite::Database& database);
  void Insert(std::int64_t folder, const MailMessage& message);

 private:
  SQLite::Database& m_database;
  SQLite::Statement m_message;
  SQLite::Statement m_recipient;
};

std::vector<std::int64_t> SelectAccountIds(const SQLite::Database& database);
// A folder's own folders, or the account's when parent is 0.
std::vector<std::int64_t> SelectFolderIds(const SQLite::Database& database, std::int64_t account, std::int64_t parent);

enum class MessageOrder : std::uint8_t { kArrival, kOldestFirst, kNewestFirst };
// Messages of the same time stay in the order of their arrival; those without a time count as the oldest.
std::vector<std::int64_t> SelectMessageIds(const SQLite::Database& database, std::int64_t folder, MessageOrder order);
std::vector<std::int64_t> SelectRecipientIds(const SQLite::Database& database, std::int64_t message);

// The records, without what they contain. Nothing when there is none of this id.
std::optional<MailAccount> SelectAccount(const SQLite::Database& database, std::int64_t id);
std::optional<MailFolder> SelectFolder(const SQLite::Database& database, std::int64_t id);
std::optional<MailMessage> SelectMessage(const SQLite::Database& database, std::int64_t id);
// With its recipients; the message must be there.
MailMessage SelectWholeMessage(const SQLite::Database& database, std::int64_t id);
std::optional<MailRecipient> SelectRecipient(const SQLite::Database& database, std::int64_t id);

std::uint32_t CountMessages(const SQLite::Database& database, std::int64_t folder);
// 0 when there is no such folder.
std::int64_t SelectAccountOf(const SQLite::Database& database, std::int64_t folder);

// Files a message into an account's own folder, both of which are made when they are not there.
void FileMessage(SQLite::Database& database, std::u16string_view account, std::u16string_view folder,
                 const MailMessage& message);

}  // namespace handset
