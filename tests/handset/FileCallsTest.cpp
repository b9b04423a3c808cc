// Folders and files as the phone's system calls show them, over a folder of the host that holds whatever it may.
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "handset/Text.h"
#include "platform/Crt.h"
#include "platform/Files.h"
#include "platform/Kernel.h"
#include "tests/support/TestPhone.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

ce::HANDLE First(const char16_t* path, ce::WIN32_FIND_DATAW& data) {
  return ce::FindFirstFileExW(path, 0, &data, 0, nullptr, 0);
}

ce::HANDLE Open(const char16_t* path) {
  return ce::CreateFileW(path, ce::GENERIC_READ, 0, nullptr, ce::OPEN_EXISTING, ce::FILE_ATTRIBUTE_NORMAL,
                         ce::kNoHandle);
}

// Names and attributes of all matches, or the error.
std::vector<std::u16string> List(const char16_t* path) {
  ce::WIN32_FIND_DATAW data{};
  const ce::HANDLE find = First(path, data);
  if (find == ce::INVALID_HANDLE_VALUE)
    return {u"error " + std::u16string(1, static_cast<char16_t>(ce::GetLastError()))};
  std::vector<std::u16string> names;
  do {
    names.emplace_back(data.cFileName);
  } while (ce::FindNextFileW(find, &data) != 0);
  EXPECT_EQ(ce::GetLastError(), ce::DWORD{ce::ERROR_NO_MORE_FILES});
  EXPECT_EQ(ce::FindNextFileW(find, &data), 0);
  EXPECT_EQ(ce::FindClose(find), 1);
  EXPECT_EQ(ce::FindClose(find), 0);
  EXPECT_EQ(ce::GetLastError(), ce::DWORD{ce::ERROR_INVALID_HANDLE});
  return names;
}

std::u16string ErrorText(ce::LONG code) { return u"error " + std::u16string(1, static_cast<char16_t>(code)); }

ce::DWORD ErrorOfOpening(const char16_t* path) {
  const ce::HANDLE file = Open(path);
  if (file == ce::INVALID_HANDLE_VALUE) return ce::GetLastError();
  EXPECT_EQ(ce::CloseHandle(file), 1);
  return 0;
}

TEST(FileCalls, patterns_stand_for_names_in_any_case) {
  test::BarePhone phone;
  for (const char* name : {"a", "B.txt", "ab.TXT", "été.t", "a.b.c"})
    std::ofstream(phone->GetFilesRoot() / name) << "x";
  const struct {
    const char16_t* pattern;
    std::vector<std::u16string> names;
  } kCases[] = {
      {u"\\*", {u"a", u"a.b.c", u"ab.TXT", u"B.txt", u"été.t"}},
      {u"\\*.*", {u"a", u"a.b.c", u"ab.TXT", u"B.txt", u"été.t"}},
      {u"\\*.txt", {u"ab.TXT", u"B.txt"}},
      {u"\\?", {u"a"}},
      {u"\\?.*", {u"a.b.c", u"B.txt"}},
      {u"\\*.*.*", {u"a.b.c"}},
      {u"\\A*B*", {u"a.b.c", u"ab.TXT"}},
      {u"\\ÉTÉ.?", {u"été.t"}},
      {u"\\b.TXT", {u"B.txt"}},
      {u"\\***", {u"a", u"a.b.c", u"ab.TXT", u"B.txt", u"été.t"}},
      {u"\\a?", {ErrorText(18)}},
      {u"\\", {ErrorText(18)}},
      {u"\\none\\*", {ErrorText(3)}},
      {u"\\a\\*", {ErrorText(3)}},
      {u"\\a|b", {ErrorText(123)}},
      {nullptr, {ErrorText(3)}},
  };
  for (const auto& test : kCases) EXPECT_EQ(List(test.pattern), test.names);
  ce::WIN32_FIND_DATAW data{};
  EXPECT_EQ(ce::FindFirstFileExW(u"\\*", 1, &data, 0, nullptr, 0), ce::INVALID_HANDLE_VALUE);
  EXPECT_EQ(ce::GetLastError(), ce::DWORD{ce::ERROR_INVALID_PARAMETER});
}

TEST(FileCalls, nothing_outside_the_root_is_reached_or_shown) {
  test::BarePhone phone;
  const fs::path root = phone->GetFilesRoot();
  const fs::path outside = phone.Folder() / "outside";
  fs::create_directory(outside);
  std::ofstream(outside / "secret") << "s";
  fs::create_directory(root / "in");
  std::ofstream(root / "in" / "mine") << "m";
  fs::create_directory_symlink(outside, root / "way-out");
  fs::create_directory_symlink("..", root / "up");
  fs::create_symlink(outside / "secret", root / "link");
  fs::create_symlink("in/mine", root / "link-within");
  fs::create_symlink("loop", root / "loop");
  ASSERT_EQ(mkfifo((root / "pipe").c_str(), 0600), 0);
  std::ofstream(root / "a:b") << "x";
  std::ofstream(root / "back\\slash") << "x";
  std::ofstream(root / "bad\xFF") << "x";
  std::ofstream(root / "new\nline") << "x";
  EXPECT_EQ(List(u"\\*"), std::vector<std::u16string>{u"in"});
  EXPECT_EQ(List(u"\\in\\*"), std::vector<std::u16string>{u"mine"});
  const char16_t* const kTricks[] = {u"\\way-out\\secret",
                                     u"\\WAY-OUT\\secret",
                                     u"\\up\\outside\\secret",
                                     u"\\up\\files\\in\\mine",
                                     u"\\..\\outside\\secret",
                                     u"\\in\\..\\..\\outside\\secret",
                                     u"\\in\\..\\in\\mine",
                                     u"\\.\\in\\mine",
                                     u"\\in\\.",
                                     u"\\..",
                                     u"..\\outside\\secret",
                                     u"/etc/passwd",
                                     u"\\/etc/passwd",
                                     u"\\in/../../outside/secret",
                                     u"\\\\in\\mine",
                                     u"\\in\\\\mine",
                                     u"\\link",
                                     u"\\LINK",
                                     u"\\link-within",
                                     u"\\loop",
                                     u"\\loop\\x",
                                     u"\\pipe",
                                     u"\\a:b",
                                     u"\\back\\slash",
                                     u"\\new\nline",
                                     u"\\in\\mine\\",
                                     u"\\in\\mine\\x",
                                     u"in\\mine",
                                     u""};
  for (const char16_t* path : kTricks) {
    EXPECT_NE(ErrorOfOpening(path), 0U) << handset::ForPeople(path);
    ce::WIN32_FIND_DATAW data{};
    EXPECT_EQ(First(path, data), ce::INVALID_HANDLE_VALUE) << handset::ForPeople(path);
    EXPECT_EQ(ce::fopen(handset::ForPeople(path).c_str(), "r"), nullptr);
    EXPECT_EQ(ce::fopen(handset::ForPeople(path).c_str(), "a"), nullptr);
  }
  EXPECT_EQ(test::ReadFile(outside / "secret"), "s");
  EXPECT_EQ(std::distance(fs::directory_iterator(outside), {}), 1);
}

TEST(FileCalls, the_length_of_paths_ends_at_259) {
  test::BarePhone phone;
  const std::u16string longest = u"\\" + std::u16string(118, u'd') + u"\\" + std::u16string(139, u'f');
  fs::create_directory(phone->GetFilesRoot() / std::string(118, 'd'));
  std::ofstream(phone->GetFilesRoot() / std::string(118, 'd') / std::string(139, 'f')) << "x";
  std::ofstream(phone->GetFilesRoot() / std::string(118, 'd') / std::string(140, 'f')) << "x";
  EXPECT_EQ(longest.size(), 259U);
  EXPECT_EQ(ErrorOfOpening(longest.c_str()), 0U);
  EXPECT_EQ(ErrorOfOpening((longest + u"f").c_str()), ce::DWORD{ce::ERROR_PATH_NOT_FOUND});
}

TEST(FileCalls, an_open_file_is_shared_with_nobody) {
  test::BarePhone phone;
  const fs::path file = phone->GetFilesRoot() / "a";
  std::ofstream(file) << "x";
  const ce::HANDLE open = Open(u"\\a");
  ASSERT_NE(open, ce::INVALID_HANDLE_VALUE);
  EXPECT_EQ(ErrorOfOpening(u"\\A"), ce::DWORD{ce::ERROR_SHARING_VIOLATION});
  EXPECT_EQ(ce::fopen("\\a", "r"), nullptr);
  // Another process of the host, with a phone on the same folder.
  const auto other = handset::Handset::Open(phone.Folder());
  {
    const handset::CurrentPhone current(*other);
    EXPECT_EQ(ErrorOfOpening(u"\\a"), ce::DWORD{ce::ERROR_SHARING_VIOLATION});
  }
  EXPECT_EQ(ce::CloseHandle(open), 1);
  EXPECT_EQ(ErrorOfOpening(u"\\a"), 0U);
  ce::FILE* const stream = ce::fopen("\\a", "a");
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(ErrorOfOpening(u"\\a"), ce::DWORD{ce::ERROR_SHARING_VIOLATION});
  EXPECT_EQ(ce::fclose(stream), 0);
}

TEST(FileCalls, handles_are_good_for_their_own_kind) {
  test::BarePhone phone;
  std::ofstream(phone->GetFilesRoot() / "a") << "abc";
  ce::WIN32_FIND_DATAW data{};
  const ce::HANDLE find = First(u"\\*", data);
  const ce::HANDLE file = Open(u"\\a");
  char bytes[8] = {};
  ce::DWORD count = 99;
  EXPECT_EQ(ce::ReadFile(find, bytes, 8, &count, nullptr), 0);
  EXPECT_EQ(ce::GetLastError(), 6U);
  EXPECT_EQ(ce::FindNextFileW(file, &data), 0);
  EXPECT_EQ(ce::GetLastError(), 6U);
  EXPECT_EQ(ce::CloseHandle(find), 0);
  EXPECT_EQ(ce::FindClose(file), 0);
  EXPECT_EQ(ce::ReadFile(file, bytes, 2, &count, nullptr), 1);
  EXPECT_EQ(std::string(bytes, count), "ab");
  EXPECT_EQ(ce::ReadFile(file, bytes, 8, &count, nullptr), 1);
  EXPECT_EQ(std::string(bytes, count), "c");
  EXPECT_EQ(ce::ReadFile(file, bytes, 8, &count, nullptr), 1);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(ce::FindClose(find), 1);
  EXPECT_EQ(ce::CloseHandle(file), 1);
  EXPECT_EQ(ce::CloseHandle(file), 0);
  EXPECT_EQ(ce::ReadFile(file, bytes, 8, &count, nullptr), 0);
  EXPECT_EQ(ce::ReadFile(ce::INVALID_HANDLE_VALUE, bytes, 8, &count, nullptr), 0);
  EXPECT_EQ(ce::GetLastError(), 6U);
}

TEST(FileCalls, a_listing_stays_what_it_was_when_it_began) {
  test::BarePhone phone;
  const fs::path folder = phone->GetFilesRoot() / "d";
  fs::create_directory(folder);
  for (const char* name : {"1", "2", "3"}) std::ofstream(folder / name) << name;
  ce::WIN32_FIND_DATAW data{};
  const ce::HANDLE find = First(u"\\d\\*", data);
  std::ofstream(folder / "2") << "longer";
  std::ofstream(folder / "4") << "new";
  fs::remove_all(folder);
  EXPECT_EQ(ce::FindNextFileW(find, &data), 1);
  EXPECT_EQ(std::u16string(data.cFileName), u"2");
  EXPECT_EQ(data.nFileSizeLow, 1U);
  EXPECT_EQ(ce::FindNextFileW(find, &data), 1);
  EXPECT_EQ(ce::FindNextFileW(find, &data), 0);
  EXPECT_EQ(ce::FindClose(find), 1);
}

TEST(FileCalls, tell_size_times_and_attributes) {
  test::BarePhone phone(json::parse(R"({"files": [
    {"path": "\\Big", "size": 5000000001, "modified": {"fileTime": 128919015012345678}, "attributes": "RSH"},
    {"path": "\\D", "folder": true, "attributes": "H"}, {"path": "\\D\\plain", "text": ""}]})"));
  const auto look = [](const char16_t* path) {
    ce::WIN32_FIND_DATAW data{};
    const ce::HANDLE find = First(path, data);
    EXPECT_NE(find, ce::INVALID_HANDLE_VALUE);
    ce::FindClose(find);
    return data;
  };
  ce::WIN32_FIND_DATAW data = look(u"\\BIG");
  EXPECT_EQ(data.dwFileAttributes, 0x07U);
  EXPECT_EQ(data.nFileSizeHigh, 1U);
  EXPECT_EQ(data.nFileSizeLow, 5000000001U - 4294967296U);
  EXPECT_EQ(data.ftLastWriteTime.dwHighDateTime, 128919015012345678ULL >> 32);
  EXPECT_EQ(data.ftLastWriteTime.dwLowDateTime, 128919015012345678ULL & 0xFFFFFFFF);
  EXPECT_EQ(look(u"\\d").dwFileAttributes, 0x12U);
  EXPECT_EQ(look(u"\\*").dwFileAttributes, 0x07U);
  EXPECT_EQ(look(u"\\D\\plain").dwFileAttributes, 0x20U);
  EXPECT_EQ(phone->Describe()["files"].dump(),
            R"([{"attributes":"HSR","path":"\\Big"},{"attributes":"H","path":"\\D"}])");
}

TEST(FileCalls, what_a_description_gives_must_be_possible) {
  const struct {
    const char* json;
    const char* inText;
  } kCases[] = {
      {R"([{"text": ""}])", "\"path\""},
      {R"([{"path": "a"}])", "/files/0/path"},
      {R"([{"path": "\\..\\a", "text": ""}])", "/files/0/path"},
      {R"([{"path": "\\a*", "text": ""}])", "/files/0/path"},
      {R"([{"path": "\\a", "text": "", "hex": ""}])", "\"text\" or \"hex\""},
      {R"([{"path": "\\a", "hex": "4"}])", "two hexadecimal digits"},
      {R"([{"path": "\\a", "text": "", "size": 1}])", "/files/0/size"},
      {R"([{"path": "\\a", "folder": true, "text": ""}])", "a folder without content"},
      {R"([{"path": "\\a", "text": "", "attributes": "D"}])", "A, H, S and R"},
      {R"([{"path": "\\a", "text": "", "modified": "2009-07-12"}])", "/files/0/modified"},
      {R"([{"path": "\\a", "text": ""}, {"path": "\\A", "text": ""}])", "/files/1/path"},
      {R"([{"path": "\\a", "text": ""}, {"path": "\\a\\b", "text": ""}])", "/files/1"},
      {R"([{"path": "\\a", "attributes": "R"}])", "a file that is there"},
  };
  for (const auto& test : kCases) {
    const test::TemporaryFolder folder;
    try {
      handset::Handset::Init(folder.Path() / "phone", json{{"files", json::parse(test.json)}});
      ADD_FAILURE() << test.json << " was accepted";
    } catch (const std::exception& error) {
      EXPECT_NE(std::string(error.what()).find(test.inText), std::string::npos) << error.what();
    }
    EXPECT_TRUE(fs::is_empty(folder.Path())) << test.json;
  }
}

// A memory file system keeps the time of any year, others do not; never is another time kept without a word.
TEST(FileCalls, a_time_is_kept_or_refused) {
  const test::TemporaryFolder folder;
  const json file = {{"path", "\\a"}, {"text", ""}, {"modified", {{"fileTime", INT64_MAX}}}};
  try {
    handset::Handset::Init(folder.Path() / "phone", json{{"files", {file}}});
  } catch (const std::exception& error) {
    EXPECT_NE(std::string(error.what()).find("can keep"), std::string::npos) << error.what();
    EXPECT_TRUE(fs::is_empty(folder.Path()));
    return;
  }
  const auto phone = handset::Handset::Open(folder.Path() / "phone");
  const handset::CurrentPhone current(*phone);
  ce::WIN32_FIND_DATAW data{};
  ASSERT_NE(First(u"\\a", data), ce::INVALID_HANDLE_VALUE);
  EXPECT_EQ(data.ftLastWriteTime.dwHighDateTime, 0x7FFFFFFFU);
  EXPECT_EQ(data.ftLastWriteTime.dwLowDateTime, 0xFFFFFFFFU);
}

}  // namespace
