#include "handset/store/MailRows.h"

#include "handset/store/RowValues.h"

namespace handset {

namespace {

using SQLite::Database;
using SQLite::Statement;
using Ids = std::vector<std::int64_t>;

void InsertWholeFolder(Database& database, MessageWriter& messages, std::int64_t account, std::int64_t parent,
                       const MailFolder& folder) {
  const std::int64_t id = InsertFolder(database, account, parent, folder);
  for (const MailMessage& message : folder.messages) messages.Insert(id, message);
  for (const MailFolder& inner : folder.folders) InsertWholeFolder(database, messages, account, id, inner);
}

template <typename... Values>
Ids SelectIds(const Database& database, const char* sql, const Values&... values) {
  Statement rows(database, sql);
  int at = 0;
  (Bind(rows, ++at, values), ...);
  Ids ids;
  while (rows.executeStep()) ids.push_back(rows.getColumn(0).getInt64());
  return ids;
}

// The first column of the first row, 0 when there is none.
template <typename... Values>
std::int64_t SelectNumber(const Database& database, const char* sql, const Values&... values) {
  const Ids ids = SelectIds(database, sql, values...);
  return ids.empty() ? 0 : ids.front();
}

std::vector<MailFolder> WholeFolders(const Database& database, std::int64_t account, std::int64_t parent) {
  std::vector<MailFolder> folders;
  for (const std::int64_t id : SelectFolderIds(database, account, parent)) {
    MailFolder folder = SelectFolder(database, id).value();
    for (const std::int64_t message : SelectMessageIds(database, id, MessageOrder::kArrival)) {
      folder.messages.push_back(SelectWholeMessage(database, message));
    }
    folder.folders = WholeFolders(database, account, id);
    folders.push_back(std::move(folder));
  }
  return folders;
}

}  // namespace

MessageWriter::MessageWriter(Database& database)
    : m_database(database),
      m_message(database,
                "INSERT INTO mail_message (folder, delivery_time, sender_name, sender_address, subject, "
                "has_entry_id) VALUES (?, ?, ?, ?, ?, ?)"),
      m_recipient(database, "INSERT INTO mail_recipient (message, name, address, address_first) VALUES (?, ?, ?, ?)") {}

void MessageWriter::Insert(std::int64_t folder, const MailMessage& message) {
  Execute(m_message, folder, message.delivered, message.senderName, message.senderAddress, message.subject,
          message.hasEntryId);
  const std::int64_t id = m_database.getLastInsertRowid();
  for (const MailRecipient& recipient : message.recipients) {
    Execute(m_recipient, id, recipient.name, recipient.address, recipient.addressFirst);
  }
}

std::int64_t InsertAccount(Database& database, const std::optional<std::u16string>& name) {
  Insert(database, "INSERT INTO mail_account (name) VALUES (?)", name);
  return database.getLastInsertRowid();
}

std::int64_t InsertFolder(Database& database, std::int64_t account, std::int64_t parent, const MailFolder& folder) {
  Insert(database,
         "INSERT INTO mail_folder (account, parent, name, tells_count, reported_count) VALUES (?, ?, ?, ?, ?)", account,
         parent, folder.name, folder.tellsCount, folder.reportedCount);
  return database.getLastInsertRowid();
}

void UpdateFolderCount(Database& database, std::int64_t folder, bool tellsCount,
                       std::optional<std::uint32_t> reportedCount) {
  Insert(database, "UPDATE mail_folder SET tells_count = ?, reported_count = ? WHERE id = ?", tellsCount, reportedCount,
         folder);
}

void InsertAccounts(Database& database, const std::vector<MailAccount>& accounts) {
  MessageWriter messages(database);
  for (const MailAccount& account : accounts) {
    const std::int64_t id = InsertAccount(database, account.name);
    for (const MailFolder& folder : account.folders) InsertWholeFolder(database, messages, id, 0, folder);
  }
}

std::vector<MailAccount> SelectAccounts(const Database& database) {
  std::vector<MailAccount> accounts;
  for (const std::int64_t id : SelectAccountIds(database)) {
    MailAccount account = SelectAccount(database, id).value();
    account.folders = WholeFolders(database, id, 0);
    accounts.push_back(std::move(account));
  }
  return accounts;
}

MailMessage SelectWholeMessage(const Database& database, std::int64_t id) {
  MailMessage message = SelectMessage(database, id).value();
  for (const std::int64_t recipient : SelectRecipientIds(database, id)) {
    message.recipients.push_back(SelectRecipient(database, recipient).value());
  }
  return message;
}

Ids SelectAccountIds(const Database& database) {
  return SelectIds(database, "SELECT id FROM mail_account ORDER BY id");
}

Ids SelectFolderIds(const Database& database, std::int64_t account, std::int64_t parent) {
  return SelectIds(database, "SELECT id FROM mail_folder WHERE account = ? AND parent = ? ORDER BY id", account,
                   parent);
}

Ids SelectMessageIds(const Database& database, std::int64_t folder, MessageOrder order) {
  static constexpr std::array<const char*, 3> kStatements = {
      "SELECT id FROM mail_message WHERE folder = ? ORDER BY id",
      "SELECT id FROM mail_message WHERE folder = ? ORDER BY delivery_time, id",
      "SELECT id FROM mail_message WHERE folder = ? ORDER BY delivery_time DESC, id"};
  return SelectIds(database, kStatements.at(static_cast<std::size_t>(order)), folder);
}

Ids SelectRecipientIds(const Database& database, std::int64_t message) {
  return SelectIds(database, "SELECT id FROM mail_recipient WHERE message = ? ORDER BY id", message);
}

std::optional<MailAccount> SelectAccount(const Database& database, std::int64_t id) {
  Statement row(database, "SELECT name FROM mail_account WHERE id = ?");
  Bind(row, 1, id);
  if (!row.executeStep()) return std::nullopt;
  return MailAccount{OptionalText(row.getColumn(0)), {}};
}

std::optional<MailFolder> SelectFolder(const Database& database, std::int64_t id) {
  Statement row(database, "SELECT name, tells_count, reported_count FROM mail_folder WHERE id = ?");
  Bind(row, 1, id);
  if (!row.executeStep()) return std::nullopt;
  MailFolder folder;
  folder.name = OptionalText(row.getColumn(0));
  folder.tellsCount = Flag(row.getColumn(1));
  if (const auto count = OptionalInteger(row.getColumn(2))) folder.reportedCount = static_cast<std::uint32_t>(*count);
  return folder;
}

std::optional<MailMessage> SelectMessage(const Database& database, std::int64_t id) {
  Statement row(database,
                "SELECT sender_name, sender_address, subject, delivery_time, has_entry_id FROM mail_message WHERE "
                "id = ?");
  Bind(row, 1, id);
  if (!row.executeStep()) return std::nullopt;
  return MailMessage{.senderName = OptionalText(row.getColumn(0)),
                     .senderAddress = OptionalText(row.getColumn(1)),
                     .subject = OptionalText(row.getColumn(2)),
                     .delivered = OptionalInteger(row.getColumn(3)),
                     .recipients = {},
                     .hasEntryId = Flag(row.getColumn(4))};
}

std::optional<MailRecipient> SelectRecipient(const Database& database, std::int64_t id) {
  Statement row(database, "SELECT name, address, address_first FROM mail_recipient WHERE id = ?");
  Bind(row, 1, id);
  if (!row.executeStep()) return std::nullopt;
  return MailRecipient{OptionalText(row.getColumn(0)), OptionalText(row.getColumn(1)), Flag(row.getColumn(2))};
}

std::uint32_t CountMessages(const Database& database, std::int64_t folder) {
  return static_cast<std::uint32_t>(
      SelectNumber(database, "SELECT count(*) FROM mail_message WHERE folder = ?", folder));
}

std::int64_t SelectAccountOf(const Database& database, std::int64_t folder) {
  return SelectNumber(database, "SELECT account FROM mail_folder WHERE id = ?", folder);
}

void FileMessage(Database& database, std::u16string_view account, std::u16string_view folder,
                 const MailMessage& message) {
  std::int64_t accountId =
      SelectNumber(database, "SELECT id FROM mail_account WHERE name = ? ORDER BY id LIMIT 1", account);
  if (accountId == 0) accountId = InsertAccount(database, std::u16string(account));
  std::int64_t folderId = SelectNumber(
      database, "SELECT id FROM mail_folder WHERE account = ? AND parent = 0 AND name = ? ORDER BY id LIMIT 1",
      accountId, folder);
  if (folderId == 0) {
    MailFolder made;
    made.name = folder;
    folderId = InsertFolder(database, accountId, 0, made);
  }
  MessageWriter(database).Insert(folderId, message);
}

}  // namespace handset
