#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/Crt.h"
#include "tests/support/TestPhone.h"

namespace {

namespace fs = std::filesystem;

bool Append(const char* path, const char* text, const char* mode = "a") {
  ce::FILE* file = ce::fopen(path, mode);
  if (file == nullptr) return false;
  EXPECT_GE(ce::fputs(text, file), 0);
  EXPECT_EQ(ce::fclose(file), 0);
  return true;
}

TEST(Files, text_is_appended_with_carriage_returns) {
  test::BarePhone phone;
  const fs::path root = phone->GetFilesRoot();
  EXPECT_TRUE(Append("\\log.txt", "one\n"));
  EXPECT_TRUE(Append("\\LOG.TXT", "two\n\n", "at"));
  EXPECT_EQ(test::ReadFile(root / "log.txt"), "one\r\ntwo\r\n\r\n");
  EXPECT_TRUE(Append("\\log.txt", "raw\n", "wb"));
  EXPECT_EQ(test::ReadFile(root / "log.txt"), "raw\n");
  fs::create_directories(root / "Storage Card" / "Été");
  EXPECT_TRUE(Append("\\storage card\\ÉTÉ\\a.txt", "x"));
  EXPECT_EQ(test::ReadFile(root / "Storage Card" / "Été" / "a.txt"), "x");
}

TEST(Files, no_path_leaves_the_root_or_meets_a_link) {
  test::BarePhone phone;
  const fs::path root = phone->GetFilesRoot();
  const fs::path outside = phone.Folder() / "outside";
  fs::create_directory(outside);
  std::ofstream(outside / "secret") << "s";
  fs::create_directory_symlink(outside, root / "way-out");
  fs::create_symlink(outside / "secret", root / "link");
  fs::create_symlink(outside / "new", root / "dangling");
  fs::create_directory(root / "folder");
  ASSERT_EQ(mkfifo((root / "pipe").c_str(), 0600), 0);
  for (const char* path : {"log.txt",
                           "",
                           "\\",
                           "\\..\\outside\\secret",
                           "\\folder\\..\\..\\outside\\secret",
                           "\\..",
                           "\\.",
                           "\\way-out\\secret",
                           "\\WAY-OUT\\secret",
                           "\\link",
                           "\\LINK",
                           "\\dangling",
                           "\\folder",
                           "\\folder\\",
                           "\\no\\parent",
                           "/etc/passwd",
                           "\\folder/../../outside/secret",
                           "\\a:b",
                           "\\\\double",
                           "\\pipe"}) {
    EXPECT_FALSE(Append(path, "x")) << path;
  }
  EXPECT_EQ(test::ReadFile(outside / "secret"), "s");
  EXPECT_FALSE(fs::exists(outside / "new"));
  EXPECT_EQ(ce::fopen("\\absent.txt", "r"), nullptr);
  EXPECT_EQ(ce::fopen("\\absent.txt", "x"), nullptr);
}

TEST(Files, a_closed_or_failing_stream_answers_minus_1) {
  test::BarePhone phone;
  ce::FILE* file = ce::fopen("\\a", "a");
  ASSERT_NE(file, nullptr);
  phone->GetFaults().Add({.call = "fputs"});
  EXPECT_EQ(ce::fputs("x", file), -1);
  EXPECT_EQ(ce::fclose(file), 0);
  EXPECT_EQ(test::ReadFile(phone->GetFilesRoot() / "a"), "") << "a failed call has done nothing";
  EXPECT_EQ(ce::fclose(file), -1);
  EXPECT_EQ(ce::fputs("x", file), -1);
}

}  // namespace
