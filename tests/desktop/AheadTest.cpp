// Files and folders that are asked for ahead, on a phone whose one handle does what an agent's does.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "desktop/files/PhoneFiles.h"
#include "tests/desktop/ModelAgent.h"
#include "tests/desktop/RunBrelix.h"

namespace brelix {
namespace {

using test::ModelAgent;

constexpr size_t kPiece = 16364;

std::string Text(const Frame& request) { return {request.data.begin(), request.data.end()}; }

std::string Failing(const Frame& request, char code) {
  std::string reply = ModelAgent::Reply(request, "");
  reply[13] = code;
  return reply;
}

// Files by path, and folders by pattern with so many entries each; three entries make a part.
struct Phone {
  std::map<std::string, std::string> files;
  std::map<std::string, size_t> folders;
  std::function<void(const std::string& path)> opened = [](const std::string&) {};
  std::string open;
  size_t at = 0;
  int requests = 0;

  std::string Answer(const Frame& request) {
    requests++;
    switch (request.command) {
      case 57:
      case 51:
        open = Text(request);
        at = 0;
        opened(open);
        if (request.command == 57 ? files.contains(open) : folders.contains(open))
          return ModelAgent::Reply(request, "");
        open.clear();
        return Failing(request, 2);
      case 59: {
        if (!files.contains(open)) return Failing(request, 6);
        const std::string piece = files.at(open).substr(std::min(at, files.at(open).size()), kPiece);
        at += piece.size();
        return ModelAgent::Reply(request, piece);
      }
      case 53:
        return Part(request);
    }
    return ModelAgent::Reply(request, "");
  }

  // Each further part begins with the last entry of the one before.
  std::string Part(const Frame& request) {
    if (!folders.contains(open)) return Failing(request, 6);
    const size_t count = folders.at(open), first = at == 0 ? 0 : at - 1;
    at = std::min(first + 3, count);
    std::string text =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<folder>\n  <name>\\</name>\n  "
        "<modified>20090712T134501Z</modified>\n  <attr>D</attr>\n  <content>\n";
    for (size_t i = first; i < at; i++)
      text += "    <name>" + std::to_string(i) + "</name>\n    <modified>20090712T134501Z</modified>\n    " +
              "<attr>A</attr>\n    <size>1</size>\n";
    std::string reply = ModelAgent::Reply(request, text + (at == count ? "  </content>\n" : "") + "</folder>\n");
    if (at == count) reply[13] = 18;
    return reply;
  }
};

std::string Filled(size_t size, char seed) {
  std::string text(size, seed);
  for (size_t i = 0; i < size; i++) text[i] = static_cast<char>(seed + i % 61);
  return text;
}

// Reads the files, each announced with its listed size; what came, or what went wrong.
std::vector<std::string> Read(Phone& phone, const std::vector<std::pair<std::string, uint32_t>>& listed) {
  ModelAgent agent([&](const Frame& request) { return phone.Answer(request); });
  Session session(Connect(agent.Address(), Clock::now() + std::chrono::seconds(5), -1), {});
  PhoneFiles files(session);
  std::vector<std::string> all;
  for (const auto& [path, size] : listed) files.Announce(PhonePath::Parse(path), size);
  for (const auto& [path, size] : listed) {
    std::string content;
    try {
      files.Read(PhonePath::Parse(path), size, [&](ByteView bytes) { content.append(bytes.begin(), bytes.end()); });
      all.push_back(content);
    } catch (const EntryFailure& failure) {
      all.push_back("failed " + std::to_string(static_cast<int>(failure.code())));
    }
  }
  files.Close();
  return all;
}

TEST(Ahead, FilesComeWholeWhateverTheirListingSaid) {
  Phone phone;
  phone.files = {
      {"\\a", Filled(10, 'a')},     {"\\b", Filled(3 * kPiece, 'b')}, {"\\c", Filled(2 * kPiece + 5, 'c')}, {"\\d", ""},
      {"\\e", Filled(kPiece, 'e')}, {"\\f", Filled(40, 'f')},         {"\\g", Filled(5 * kPiece, 'g')}};
  const std::vector<std::pair<std::string, uint32_t>> listed = {{"\\a", 10},        {"\\b", 3 * kPiece}, {"\\none", 4},
                                                                {"\\c", 20},        {"\\d", 0},          {"\\e", 9999},
                                                                {"\\f", 1'000'000}, {"\\g", 5 * kPiece}};
  const std::vector<std::string> expected = {phone.files["\\a"], phone.files["\\b"], "failed 8",
                                             phone.files["\\c"], phone.files["\\d"], phone.files["\\e"],
                                             phone.files["\\f"], phone.files["\\g"]};
  EXPECT_EQ(Read(phone, listed), expected);
}

// The agent answers the first piece only once all have been asked for.
TEST(Ahead, CatAsksForAWholeFileAtOnce) {
  const std::string content = Filled(2 * kPiece + 9, 'a');
  std::string pieces;
  int asked = 0;
  ModelAgent agent([&](const Frame& request) -> std::string {
    if (request.module == 1 && request.command == 1)
      return ModelAgent::Reply(request, {"\0\0\x07\xd9\x07\x0c\x0d\x2d", 8});
    if (request.command == 93)
      return ModelAgent::Reply(request, "<fileinfo><name>f</name><modified></modified><attr>A</attr><size>" +
                                            std::to_string(content.size()) + "</size></fileinfo>");
    if (request.command != 59) return ModelAgent::Reply(request, "");
    pieces += ModelAgent::Reply(request, content.substr(static_cast<size_t>(asked) * kPiece, kPiece));
    return ++asked == 3 ? pieces : "";
  });
  const test::Outcome cat = test::RunBrelix({"-d", agent.Address(), "--timeout", "3", "files", "cat", "/f"});
  EXPECT_EQ(cat.code, 0) << cat.err;
  EXPECT_TRUE(cat.out == content) << cat.out.size();
}

TEST(Ahead, AFileThatChangesBetweenItsTwoReadingsIsNotKept) {
  Phone phone;
  phone.files = {{"\\a", Filled(2 * kPiece, 'a')}, {"\\b", Filled(7, 'b')}};
  int opened = 0;
  phone.opened = [&](const std::string& path) {
    if (path == "\\a" && ++opened == 2) phone.files["\\a"][100]++;
  };
  EXPECT_EQ(Read(phone, {{"\\a", 10}, {"\\b", 7}}), (std::vector<std::string>{"failed 12", phone.files["\\b"]}));
}

TEST(Ahead, FilesThatAreNotReadInTheirOrderAreReadAllTheSame) {
  Phone phone;
  for (const char name : {'a', 'b', 'c', 'd'}) phone.files[std::string("\\") + name] = Filled(20000, name);
  ModelAgent agent([&](const Frame& request) { return phone.Answer(request); });
  Session session(Connect(agent.Address(), Clock::now() + std::chrono::seconds(5), -1), {});
  PhoneFiles files(session);
  for (const char* path : {"\\a", "\\b", "\\c"}) files.Announce(PhonePath::Parse(path), 20000);
  for (const char* path : {"\\b", "\\a", "\\d", "\\c"}) {
    std::string content;
    files.Read(PhonePath::Parse(path), 20000, [&](ByteView bytes) { content.append(bytes.begin(), bytes.end()); });
    EXPECT_EQ(content, phone.files[path]) << path;
  }
}

TEST(Ahead, FoldersOfManyPartsAreListedOnceAndWhole) {
  Phone phone;
  const std::vector<std::pair<std::string, size_t>> sizes = {{"\\a", 1}, {"\\b", 40},  {"\\c", 3},
                                                             {"\\d", 4}, {"\\e", 500}, {"\\f", 2}};
  for (const auto& [path, count] : sizes) phone.folders[path + "\\*"] = count;
  ModelAgent agent([&](const Frame& request) { return phone.Answer(request); });
  Session session(Connect(agent.Address(), Clock::now() + std::chrono::seconds(5), -1), {});
  PhoneFiles files(session);
  for (const auto& [path, count] : sizes) EXPECT_TRUE(files.AnnounceFolder(PhonePath::Parse(path), false));
  EXPECT_TRUE(files.AnnounceFolder(PhonePath::Parse("\\none"), false));
  for (const auto& [path, count] : sizes) {
    const auto entries = files.List(PhonePath::Parse(path));
    ASSERT_EQ(entries.size(), count) << path;
    for (size_t i = 0; i < count; i++) EXPECT_EQ(entries[i].name, std::to_string(i)) << path;
  }
  EXPECT_TRUE(files.List(PhonePath::Parse("\\none")).empty());
  EXPECT_LT(phone.requests, 2500) << "250 parts, and what is asked once more";
}

// What is thrown while other folders are asked for is about none of them, and ends the work at once.
TEST(Ahead, AnInterruptWhileOtherFoldersAreAskedForIsNotLost) {
  int interrupt[2];
  ASSERT_EQ(pipe2(interrupt, O_CLOEXEC | O_NONBLOCK), 0);
  Phone phone;
  for (int i = 0; i < 20; i++) phone.folders["\\" + std::to_string(i) + "\\*"] = 1;
  phone.opened = [&](const std::string& path) {
    if (path == "\\0\\*" && write(interrupt[1], "!", 1) != 1) ADD_FAILURE();
  };
  ModelAgent agent([&](const Frame& request) { return phone.Answer(request); });
  // Opening the fourth folder is the seventh request, which has to wait.
  Session session(Connect(agent.Address(), Clock::now() + std::chrono::seconds(5), interrupt[0]), {.window = 7});
  PhoneFiles files(session);
  for (int i = 0; i < 20; i++) EXPECT_TRUE(files.AnnounceFolder(PhonePath::Parse("/" + std::to_string(i)), false));
  int listed = 0;
  try {
    for (; listed < 20; listed++) {
      files.List(PhonePath::Parse("/" + std::to_string(listed)));
      files.Close();
    }
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.code(), Exit::kInterrupted) << failure.what();
  }
  EXPECT_EQ(listed, 0);
  close(interrupt[0]);
  close(interrupt[1]);
}

}  // namespace
}  // namespace brelix
