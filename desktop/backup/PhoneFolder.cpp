#include "desktop/backup/PhoneFolder.h"

#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "desktop/Failure.h"
#include "handset/store/Store.h"

namespace brelix::backup {

namespace {

namespace fs = std::filesystem;

constexpr int kBusyMilliseconds = 5000;
constexpr size_t kBatchItems = 500;
constexpr size_t kBatchBytes = 4U << 20;

fs::path DatabaseOf(const fs::path& folder) { return folder / "phone.db"; }

[[noreturn]] void Fail(const fs::path& path, const std::string& why) {
  throw Failure(Exit::kLocalFile, fmt::format("{}: {}", path.string(), why));
}

}  // namespace

PhoneFolder PhoneFolder::OpenForReading(const fs::path& folder) {
  try {
    if (!fs::is_directory(folder / "files")) Fail(folder, "no phone's folder, it has no files/");
    return {folder, handset::OpenDatabaseForReading(DatabaseOf(folder))};
  } catch (const Failure&) {
    throw;
  } catch (const std::exception& error) {
    throw Failure(Exit::kLocalFile, error.what());
  }
}

PhoneFolder PhoneFolder::OpenForWriting(const fs::path& folder) {
  auto database =
      std::make_unique<SQLite::Database>(DatabaseOf(folder).string(), SQLite::OPEN_READWRITE, kBusyMilliseconds);
  database->exec("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON");
  return {folder, std::move(database)};
}

void PhoneFolder::MakeEmpty(const fs::path& folder) {
  std::error_code error;
  if (!fs::create_directories(folder / "files", error) && error) Fail(folder / "files", error.message());
  handset::Description nothing;
  nothing.lines.clear();
  try {
    handset::Store::Create(DatabaseOf(folder), nothing, handset::Store::Made::kUnfinished);
  } catch (const std::exception& failure) {
    throw Failure(Exit::kLocalFile, failure.what());
  }
}

void PhoneFolder::MarkFinished() {
  handset::MarkDatabaseFinished(*database_);
  database_->exec("VACUUM");
  database_->exec("PRAGMA wal_checkpoint(TRUNCATE)");
}

Batch::Batch(SQLite::Database& database)
    : database_(database), transaction_(std::make_unique<SQLite::Transaction>(database)) {}

void Batch::Done(size_t bytes) {
  bytes_ += bytes;
  if (++count_ < kBatchItems && bytes_ < kBatchBytes) return;
  transaction_->commit();
  transaction_ = std::make_unique<SQLite::Transaction>(database_);
  count_ = bytes_ = 0;
}

void Batch::Finish() {
  transaction_->commit();
  transaction_.reset();
}

}  // namespace brelix::backup
