// An interrupt ends what reads a backup's folder, however large the files in it are.
#include <gtest/gtest.h>

#include "desktop/Failure.h"
#include "desktop/backup/Backup.h"
#include "desktop/backup/Domain.h"
#include "desktop/backup/FileDigest.h"
#include "desktop/backup/Manifest.h"
#include "tests/backup/SilentWatch.h"
#include "tests/backup/TakenFolder.h"
#include "tests/support/Interrupts.h"

namespace test {
namespace {

namespace backup = brelix::backup;

template <typename Work>
brelix::Exit Ending(Work work) {
  try {
    work();
    return brelix::Exit::kOk;
  } catch (const brelix::Failure& failure) {
    return failure.code();
  }
}

TEST(Interrupt, EndsTheReadingOfAFolder) {
  const MadePhone phone(
      nlohmann::json{{"contacts", {{{"FirstName", "A"}}, {{"FirstName", "B"}}}},
                     {"files", {{{"path", "\\a"}, {"text", "a"}}, {{"path", "\\b"}, {"text", "b"}}}}});
  const Interrupts four(4), none(0);
  auto folder = backup::PhoneFolder::OpenForReading(phone.Path());
  const auto read = [&] {
    for (const backup::Domain* domain : backup::Domains()) {
      brelix::Digest total;
      backup::EntryOf(*domain, folder, total);
    }
  };
  folder.SetCancel(none.descriptor());
  EXPECT_EQ(Ending(read), brelix::Exit::kOk);
  folder.SetCancel(four.descriptor());
  EXPECT_EQ(Ending(read), brelix::Exit::kInterrupted);
  EXPECT_EQ(Ending([&] { backup::ForEachFile(folder, [](const auto&) {}); }), brelix::Exit::kInterrupted);
  const auto file = phone.Path() / "files" / "a";
  EXPECT_EQ(Ending([&] { backup::DigestOfFile(file, four.descriptor()); }), brelix::Exit::kInterrupted);
  // Each was taken by one of them.
  EXPECT_EQ(Ending([&] { backup::DigestOfFile(file, four.descriptor()); }), brelix::Exit::kInterrupted);
  EXPECT_EQ(Ending([&] { backup::DigestOfFile(file, none.descriptor()); }), brelix::Exit::kOk);
}

// What a backup does when all has come: it compares, and writes its manifest.
TEST(Interrupt, EndsABackupThatWaitsForNoPhone) {
  const MadePhone phone(nlohmann::json{{"contacts", {{{"FirstName", "A"}}}}});
  const TemporaryFolder place;
  const auto target = place.Path() / "copy";
  SilentWatch quiet;
  const auto back_up = [&](brelix::CancelFd cancel) {
    brelix::Session session(brelix::Connect("exec:" BRELIX_PHONE_COMMAND " rapi --no-log " + phone.Path().string(),
                                            brelix::Clock::now() + std::chrono::seconds(10), -1),
                            {});
    brelix::Client(session).Start();
    const backup::BackupOptions options{
        .domains = {backup::FindDomain("contacts")}, .tool_version = "test", .cancel = cancel};
    backup::MakeBackup(session, target, options, quiet);
  };
  const Interrupts one(1), another(1);
  EXPECT_EQ(Ending([&] { back_up(one.descriptor()); }), brelix::Exit::kInterrupted);
  EXPECT_FALSE(std::filesystem::exists(target));
  EXPECT_EQ(Ending([&] { back_up(one.descriptor()); }), brelix::Exit::kOk);
  EXPECT_TRUE(quiet.went_on);
  const std::string before = ReadFile(target / backup::kManifestName);
  EXPECT_EQ(Ending([&] { back_up(another.descriptor()); }), brelix::Exit::kInterrupted);
  EXPECT_EQ(ReadFile(target / backup::kManifestName), before);
}

}  // namespace
}  // namespace test
