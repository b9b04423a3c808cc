#include "desktop/backup/Compare.h"

namespace brelix::backup {

namespace {

// One side, put aside: a temporary database, which the library brings to the disk when it grows.
class PutAside {
 public:
  PutAside(const Domain& domain, const PhoneFolder& folder) : database_("", SQLite::OPEN_READWRITE) {
    database_.exec("CREATE TABLE record (key TEXT PRIMARY KEY, fields TEXT NOT NULL) WITHOUT ROWID");
    SQLite::Transaction transaction(database_);
    SQLite::Statement insert(database_, "INSERT INTO record VALUES (?, ?)");
    domain.for_each(folder, [&](const Record& record) {
      folder.FailIfInterrupted();
      insert.bind(1, record.key);
      insert.bind(2, record.fields.dump());
      insert.exec();
      insert.reset();
    });
    transaction.commit();
    rows_.emplace(database_, "SELECT key, fields FROM record ORDER BY key");
    Next();
  }

  bool AtEnd() const { return at_end_; }
  const std::string& key() const { return key_; }
  const std::string& fields() const { return fields_; }

  void Next() {
    at_end_ = !rows_->executeStep();
    if (at_end_) return;
    key_ = rows_->getColumn(0).getString();
    fields_ = rows_->getColumn(1).getString();
  }

 private:
  SQLite::Database database_;
  std::optional<SQLite::Statement> rows_;
  std::string key_, fields_;
  bool at_end_ = false;
};

}  // namespace

Changes Compare(const Domain& domain, const PhoneFolder& before, const PhoneFolder& after,
                const std::function<void(const Difference&)>& tell) {
  Changes changes;
  PutAside old(domain, before);
  const auto gone = [&] {
    changes.gone++;
    tell({old.key(), nlohmann::json::parse(old.fields()), nullptr});
    old.Next();
  };
  domain.for_each(after, [&](const Record& record) {
    after.FailIfInterrupted();
    while (!old.AtEnd() && old.key() < record.key) gone();
    if (old.AtEnd() || old.key() != record.key) {
      changes.added++;
      return tell({record.key, nullptr, record.fields});
    }
    if (old.fields() != record.fields.dump()) {
      changes.changed++;
      tell({record.key, nlohmann::json::parse(old.fields()), record.fields});
    }
    old.Next();
  });
  while (!old.AtEnd()) gone();
  return changes;
}

}  // namespace brelix::backup
