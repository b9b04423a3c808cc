#include <gtest/gtest.h>
#include <sys/stat.h>

#include "desktop/Failure.h"
#include "desktop/NewFile.h"
#include "tests/support/TemporaryFolder.h"

namespace brelix {
namespace {

namespace fs = std::filesystem;

size_t FilesIn(const fs::path& folder) {
  return static_cast<size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

TEST(NewFile, IsThereWholeOrNotAtAll) {
  const ::test::TemporaryFolder folder;
  const fs::path path = folder.Path() / "people.vcf";
  { NewFile(path).Write(std::string(100000, 'x')); }
  EXPECT_EQ(FilesIn(folder.Path()), 0U) << "what was not committed is left";

  std::ofstream(path) << "before";
  fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  {
    NewFile file(path);
    file.Write(std::string(100000, 'x'));
    EXPECT_EQ(::test::ReadFile(path), "before");
    file.SetModified(std::chrono::sys_time<std::chrono::nanoseconds>(std::chrono::nanoseconds(-1'500'000'100)));
    file.Commit();
  }
  EXPECT_EQ(::test::ReadFile(path), std::string(100000, 'x'));
  EXPECT_EQ(FilesIn(folder.Path()), 1U);
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640U);
  EXPECT_EQ(status.st_mtim.tv_sec, -2);
  EXPECT_EQ(status.st_mtim.tv_nsec, 499'999'900);
}

TEST(NewFile, KeepsLinksAndWritesDevicesAsTheyAre) {
  const ::test::TemporaryFolder folder;
  std::ofstream(folder.Path() / "real") << "before";
  fs::create_symlink("real", folder.Path() / "link");
  {
    NewFile file(folder.Path() / "link");
    file.Write("after");
    file.Commit();
  }
  EXPECT_TRUE(fs::is_symlink(folder.Path() / "link"));
  EXPECT_EQ(::test::ReadFile(folder.Path() / "real"), "after");
  NewFile null("/dev/null");
  null.Write("gone");
  null.Commit();
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST(NewFile, NamesWhatCannotBeWritten) {
  const ::test::TemporaryFolder folder;
  for (const fs::path& path : {folder.Path(), folder.Path() / "no" / "folder", fs::path("")}) {
    try {
      NewFile file(path);
      ADD_FAILURE() << path << " was opened";
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.code(), Exit::kLocalFile);
      EXPECT_NE(std::string(failure.what()).find(path.string()), std::string::npos);
    }
  }
  NewFile full("/dev/full");
  full.Write("x");
  EXPECT_THROW(full.Commit(), Failure);
}

}  // namespace
}  // namespace brelix
