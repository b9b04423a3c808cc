// Files and folders that are asked for ahead, on a phone whose one handle does what an agent's does.
#include <gtest/gtest.h>

#include "desktop/files/PhoneFiles.h"
#include "tests/desktop/ModelAgent.h"

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
  for (const auto& [path, count] : sizes) EXPECT_TRUE(files.AnnounceFolder(PhonePath::Parse(path)));
  EXPECT_TRUE(files.AnnounceFolder(PhonePath::Parse("\\none")));
  for (const auto& [path, count] : sizes) {
    const auto entries = files.List(PhonePath::Parse(path));
    ASSERT_EQ(entries.size(), count) << path;
    for (size_t i = 0; i < count; i++) EXPECT_EQ(entries[i].name, std::to_string(i)) << path;
  }
  EXPECT_TRUE(files.List(PhonePath::Parse("\\none")).empty());
  EXPECT_LT(phone.requests, 2500) << "250 parts, and what is asked once more";
}

}  // namespace
}  // namespace brelix
