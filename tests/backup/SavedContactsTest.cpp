// A backup's contacts, read to be written back.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "desktop/Failure.h"
#include "desktop/backup/SavedContacts.h"
#include "tests/backup/TakenFolder.h"

namespace test {
namespace {

using brelix::backup::PhoneFolder;
using brelix::backup::SavedContacts;

TEST(SavedContacts, AFolderThatCannotBeReadIsNamed) {
  const MadePhone phone(nlohmann::json{{"contacts", {{{"oid", 7}, {"FirstName", "Ada"}}}}});
  SQLite::Database(phone.Path() / "phone.db", SQLite::OPEN_READWRITE)
      .exec("UPDATE contact SET FirstName = CAST(x'FF41' AS TEXT)");
  SavedContacts saved(PhoneFolder::OpenForReading(phone.Path()));
  try {
    saved.Load(7);
    FAIL() << "a text that is none was read";
  } catch (const brelix::Failure& failure) {
    EXPECT_EQ(failure.code(), brelix::Exit::kLocalFile);
    EXPECT_EQ(std::string(failure.what()).find(phone.Path().string() + ": its contacts cannot be read"), 0u)
        << failure.what();
  }
}

}  // namespace
}  // namespace test
