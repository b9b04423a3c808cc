// Walks over all folders of a phone: how often they wait, what they hold, and what they make of a phone that
// exaggerates.
#include <algorithm>
#include <gtest/gtest.h>

#include "desktop/files/Tree.h"
#include "tests/desktop/HeldBytes.h"
#include "tests/desktop/ModelAgent.h"

namespace brelix {
namespace {

using test::HeldBytes;
using test::ModelAgent;

std::string Entry(const std::string& name, bool folder) {
  return "<name>" + name + "</name><modified></modified><attr>" + (folder ? "D" : "") + "</attr>";
}

// So many entries whose names begin so.
std::string Numbered(const std::string& begin, int count, bool folders) {
  std::string entries;
  for (int i = 0; i < count; i++) entries += Entry(begin + std::to_string(i), folders);
  return entries;
}

// A phone that tells what is in a folder in one part, by its path without a backslash at the end: a text of
// entries.
class Phone {
 public:
  explicit Phone(std::function<std::string(const std::string& folder)> entries)
      : entries_(std::move(entries)), agent([this](const Frame& request) { return Answer(request); }) {}

  struct Walked {
    std::vector<std::string> paths;
    Problems problems;
    size_t most_held = 0;  // bytes, while folders were taken
  };
  Walked Walk() {
    Session session(Connect(agent.Address(), Clock::now() + std::chrono::seconds(5), -1), {});
    PhoneFiles files(session);
    Walked walked;
    const size_t before = HeldBytes();
    walked.problems = WalkNodes(
        files, PhonePath(), [&](const TreeNode& node) { walked.paths.push_back(node.path.Wire()); },
        [&] { walked.most_held = std::max(walked.most_held, HeldBytes() - before); });
    files.Close();
    return walked;
  }

 private:
  std::string Answer(const Frame& request) {
    if (request.command == 51) {
      const std::string pattern(request.data.begin(), request.data.end());
      open_ = pattern.substr(0, pattern.size() - 2);
    }
    if (request.command != 53) return ModelAgent::Reply(request, "");
    std::string reply = ModelAgent::Reply(
        request, "<folder>" + Entry("x", true) + "<content>" + entries_(open_) + "</content></folder>");
    reply[13] = 18;
    return reply;
  }

  const std::function<std::string(const std::string&)> entries_;
  std::string open_;

 public:
  ModelAgent agent;
};

size_t Depth(const std::string& folder) { return static_cast<size_t>(std::count(folder.begin(), folder.end(), '\\')); }

// More folders than are asked for at a time, each with folders of its own: nothing waits for each of them.
TEST(TreeWalk, FoldersBelowFoldersAreAskedForAhead) {
  Phone phone([](const std::string& folder) {
    return Depth(folder) < 2 ? Numbered("d", Depth(folder) == 0 ? 300 : 2, true) : Numbered("f", 1, false);
  });
  phone.agent.AnswerInRounds();
  const auto walked = phone.Walk();
  std::vector<std::string> expected;
  const auto add = [&](const std::string& path) { expected.push_back(path); };
  for (int i = 0; i < 300; i++) add("\\d" + std::to_string(i));
  for (int i = 299; i >= 0; i--) {
    const std::string path = "\\d" + std::to_string(i);
    add(path + "\\d0");
    add(path + "\\d1");
    add(path + "\\d1\\f0");
    add(path + "\\d0\\f0");
  }
  EXPECT_EQ(walked.paths, expected);
  EXPECT_TRUE(walked.problems.empty());
  EXPECT_LT(phone.agent.Finish().rounds, 100);
}

// Folders that come together and are taken one after another are not held together: some are asked for once more. None
// is missing in the end, and none comes twice.
TEST(TreeWalk, WhatIsHeldOfFoldersToComeIsBounded) {
  std::string many = Entry("inner", true);
  for (int i = 0; i < 1200; i++) many += Entry("", false);  // quick to pass over
  Phone phone([&](const std::string& folder) {
    if (Depth(folder) == 0) return Numbered("d", 260, true);
    return Depth(folder) == 1 ? many : "";
  });
  const auto walked = phone.Walk();
  EXPECT_EQ(walked.paths.size(), 520u);
  EXPECT_LT(walked.most_held, size_t{24} << 20);
}

TEST(TreeWalk, APartThatNoPhoneSendsCostsItsFolder) {
  const std::string endless = Numbered("a", 15'000, false);
  Phone phone([&](const std::string& folder) {
    if (Depth(folder) == 0) return Numbered("d", 20, true);
    return folder == "\\d7" ? Numbered("f", 1, false) : endless;
  });
  const auto walked = phone.Walk();
  EXPECT_EQ(walked.paths.size(), 21u);
  EXPECT_EQ(walked.problems.size(), 19u);
  EXPECT_LT(walked.most_held, size_t{16} << 20);
}

// Of each folder so many, and of all folders: the others are counted.
TEST(TreeWalk, ProblemsWithoutEndAreCounted) {
  std::string same;
  for (int i = 0; i < 1000; i++) same += Entry("same", false);
  Phone phone([&](const std::string& folder) { return Depth(folder) == 0 ? Numbered("d", 150, true) : same; });
  const auto walked = phone.Walk();
  EXPECT_EQ(walked.paths.size(), 300u);
  ASSERT_EQ(walked.problems.size(), 10'001u);
  EXPECT_EQ(walked.problems[100].why, "\\d149: and 899 more like these");
  EXPECT_EQ(walked.problems.back().why.find("5150 more problems"), 0u) << walked.problems.back().why;
}

}  // namespace
}  // namespace brelix
