// The store's changes of contacts and appointments.
#include "handset/store/PimRows.h"
#include "handset/store/Store.h"

namespace handset {

std::optional<Contact> Store::GetContact(std::uint32_t oid) const {
  return Use([&](SQLite::Database& database) {
    if (!m_selectContact) m_selectContact = std::make_unique<SQLite::Statement>(PrepareContact(database));
    return SelectContact(*m_selectContact, oid);
  });
}

bool Store::PutContact(Contact& contact, const std::optional<Bytes>& picture) {
  const std::lock_guard lock(m_mutex);
  try {
    if (!m_itemChange) {
      m_itemChange = std::make_unique<SQLite::Transaction>(*m_database, SQLite::TransactionBehavior::IMMEDIATE);
    }
    const bool isNew = contact.oid == 0;
    Contact stored = contact;
    if (!handset::PutContact(*m_database, stored)) return false;
    if (picture) PutPicture(*m_database, stored.oid, *picture);
    contact.oid = stored.oid;
    if (isNew) ++m_itemGeneration;
    return true;
  } catch (const std::exception& error) {
    m_itemChange.reset();
    Rethrow(error);
  }
}

void Store::FinishItemChange() {
  Use([](SQLite::Database&) {});
}

// What cannot be brought to the disk is undone.
void Store::CommitItemChange() const {
  const auto change = std::move(m_itemChange);
  change->commit();
}

bool Store::DeleteItem(std::uint32_t oid) {
  return Use([&](SQLite::Database& database) {
    SQLite::Transaction transaction(database);
    const bool deleted = handset::DeleteItem(database, oid);
    transaction.commit();
    if (deleted) ++m_itemGeneration;
    return deleted;
  });
}

std::uint64_t Store::GetItemGeneration() const {
  // The database counts what other programs change.
  return Use([&](SQLite::Database& database) {
    return m_itemGeneration + static_cast<std::uint64_t>(database.execAndGet("PRAGMA data_version").getInt64());
  });
}

}  // namespace handset
