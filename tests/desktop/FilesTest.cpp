// brelix files against phones that lie, break off and refuse.
#include <future>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <signal.h>
#include <sys/stat.h>

#include "tests/desktop/FileScripts.h"

namespace brelix::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using ::test::TemporaryFolder;

const std::string kNul(1, '\0');
const std::string kFolder = EntryXml("d", "", "D", "20080301T102030Z");

class Files : public testing::Test {
 protected:
  Outcome Run(const std::string& script, std::vector<std::string> arguments) {
    std::string script_error;
    Outcome outcome = Served(script, std::move(arguments), script_error);
    EXPECT_EQ(script_error, "") << outcome.err;
    return outcome;
  }
  // Pulls \d, which holds these entries, into target().
  Outcome PullFolder(const std::string& entries, const std::string& then, std::vector<std::string> options = {}) {
    options.insert(options.begin(), {"files", "pull", "/d", target().string()});
    return Run(AsksInfo("\\d", kFolder) + AsksListing("\\d", {entries}) + then, options);
  }
  fs::path target() const { return folder.Path() / "target"; }
  std::string Path(const std::string& name) const { return (target() / name).string(); }
  void Write(const std::string& name, const std::string& text) {
    fs::create_directories(target());
    std::ofstream(target() / name) << text;
  }
  // Everything in the scratch folder: names, and what files hold.
  std::map<std::string, std::string> Everything() const {
    std::map<std::string, std::string> all;
    for (const auto& entry : fs::recursive_directory_iterator(folder.Path()))
      all[fs::relative(entry.path(), folder.Path()).string()] = entry.is_directory() ? "/" : ReadFile(entry.path());
    return all;
  }
  size_t PartFiles() const {
    size_t count = 0;
    for (const auto& [name, text] : Everything()) count += name.find(".brelix-part-") != name.npos;
    return count;
  }

  TemporaryFolder folder;
};

std::int64_t ModifiedOf(const fs::path& path) {
  struct stat now {};
  EXPECT_EQ(stat(path.c_str(), &now), 0) << path;
  return now.st_mtim.tv_sec;
}

TEST_F(Files, PartsOfAListingAreJoinedWithoutTheEntryThatIsRepeated) {
  const std::string a = EntryXml("a", "1"), b = EntryXml("b", "2"), c = EntryXml("c", "-1");
  const Outcome ls = Run(AsksInfo("\\d", kFolder) + AsksListing("\\d", {a + b, b + b + c, c + a}) + kClosesFile,
                         {"--json", "files", "ls", "\\d"});
  EXPECT_EQ(ls.code, 0) << ls.err;
  std::istringstream lines(ls.out);
  std::vector<std::string> paths;
  for (std::string line; std::getline(lines, line);) paths.push_back(json::parse(line).at("path"));
  EXPECT_EQ(paths, (std::vector<std::string>{"\\d\\a", "\\d\\b", "\\d\\b", "\\d\\c", "\\d\\a"}));
  EXPECT_NE(ls.out.find("\"size\":4294967295"), std::string::npos) << ls.out;
}

TEST_F(Files, EmptyAndEndlessListingsEnd) {
  EXPECT_EQ(Run(Asks("1/51 " + Hex("\\*"), "1/52 00000012"), {"files", "ls"}).out, "");
  const std::string a = EntryXml("a", "1");
  const std::string stuck = Asks("1/51 " + Hex("\\*"), "1/52 00000000") +
                            Asks("1/53", "1/54 00000000 " + Hex(FolderXml("\\", a, false))) +
                            Asks("1/53", "1/54 00000000 " + Hex(FolderXml("\\", a, false)));
  EXPECT_EQ(Run(stuck + kClosesFile, {"files", "ls", "/"}).code, 12);
  const Outcome nothing = Run(Asks("1/51 " + Hex("\\*.jpg"), "1/52 00000012"), {"files", "ls", "/*.jpg"});
  EXPECT_EQ(nothing.code, 8);
}

TEST_F(Files, StatAndCatShowOneFile) {
  const Outcome stat = Run(AsksInfo("\\d\\f", EntryXml("f", "-2147483648", "AR")), {"--json", "files", "stat", "/d/f"});
  const json said = json::parse(stat.out, nullptr, false);
  EXPECT_EQ(said["size"], 2147483648u) << stat.out;
  EXPECT_EQ(said["modified"], "2009-07-12T13:45:01Z");
  const std::string bytes = kNul + "\xFFtext";
  const Outcome cat =
      Run(AsksInfo("\\f", EntryXml("f", "6")) + AsksFile("\\f", bytes) + kClosesFile, {"files", "cat", "f"});
  EXPECT_EQ(cat.out, bytes);
  EXPECT_EQ(Run(AsksInfo("\\no", "", "00000002"), {"files", "stat", "no"}).code, 8);
  EXPECT_EQ(RunBrelix({"-d", "tcp:127.0.0.1:1", "files", "cat", "/ZZZZ"}).code, 10) << "before a phone is bothered";
  EXPECT_EQ(RunBrelix({"-d", "tcp:127.0.0.1:1", "files", "stat", "/a*"}).code, 2);
}

TEST_F(Files, PulledTreeHasContentsAndTimes) {
  const std::string long_bytes(16364, 'x');
  const Outcome pull = Run(AsksInfo("\\d", kFolder) +
                               AsksListing("\\d", {EntryXml("sub", "", "D", "20070101T000000Z") +
                                                   EntryXml("empty", "0") + EntryXml("two", "16366", "AR")}) +
                               AsksListing("\\d\\sub", {EntryXml("\xED\xA0\xBD", "3")}) +
                               Asks("1/57 " + Hex("\\d\\empty"), "1/58 00000000") + Asks("1/59", "1/60 00000000") +
                               AsksFile("\\d\\two", long_bytes) + Asks("1/59", "1/60 00000000 7a7a") +
                               AsksFile("\\d\\sub\\\xED\xA0\xBD", "abc") + kClosesFile,
                           {"--json", "files", "pull", "\\d", target().string()});
  EXPECT_EQ(pull.code, 0) << pull.err;
  EXPECT_EQ(json::parse(pull.out, nullptr, false)["files"], 3);
  EXPECT_EQ(Everything(), (std::map<std::string, std::string>{{"target", "/"},
                                                              {"target/empty", ""},
                                                              {"target/sub", "/"},
                                                              {"target/sub/%uD83D", "abc"},
                                                              {"target/two", long_bytes + "zz"}}));
  EXPECT_EQ(ModifiedOf(Path("two")), 1247406301);
  EXPECT_EQ(ModifiedOf(Path("sub")), 1167609600);
  EXPECT_EQ(ModifiedOf(target()), 1204366830);
}

TEST_F(Files, NamesThatLeadElsewhereAreLeftOut) {
  std::string entries;
  for (const std::string name : {"..", ".", "", "../up", "a/b", "..\\up", "/etc/x", "C:\\x"}) {
    entries += EntryXml(name, "1") + EntryXml(name, "", "D");
  }
  entries += EntryXml("nul" + kNul + "x", "1") + EntryXml("*", "", "D") + EntryXml("\xFF", "1");
  entries += EntryXml("Good", "2") + EntryXml("gOOD", "2") + EntryXml("\xC3\x84", "1") + EntryXml("\xC3\xA4", "1");
  const Outcome pull = PullFolder(entries, AsksFile("\\d\\Good", "ok") + AsksFile("\\d\\\xC3\x84", "!") + kClosesFile);
  EXPECT_EQ(pull.code, 11) << pull.err;
  EXPECT_EQ(std::count(pull.err.begin(), pull.err.end(), '\n'), 21) << pull.err;
  EXPECT_EQ(Everything(),
            (std::map<std::string, std::string>{{"target", "/"}, {"target/Good", "ok"}, {"target/\xC3\x84", "!"}}));
}

TEST_F(Files, FoldersWithoutEndAreCutOff) {
  std::string script = AsksInfo("\\d", kFolder), path = "\\d";
  for (int depth = 0; depth <= 130; depth++, path += "\\d") script += AsksListing(path, {kFolder});
  const Outcome ls = Run(script + kClosesFile, {"files", "ls", "-R", "/d"});
  EXPECT_EQ(ls.code, 11) << ls.err;
}

TEST_F(Files, OneFileThatCannotBeReadDoesNotStopATree) {
  Write("lies", "before");
  Write("taken", "before");
  fs::create_directories(Path("folder-here"));
  const std::string entries = EntryXml("taken", "9") + EntryXml("breaks", "9") + EntryXml("lies", "5") +
                              EntryXml("ZZZZ", "1") + EntryXml("folder-here", "4") + EntryXml("sub", "", "D") +
                              EntryXml("grows", "5") + EntryXml("last", "4");
  const Outcome pull = PullFolder(
      entries, Asks("1/51 " + Hex("\\d\\sub\\*"), "1/52 00000005") +
                   Asks("1/57 " + Hex("\\d\\taken"), "1/58 00000020") + AsksFile("\\d\\breaks", "abc") +
                   Asks("1/59", "1/60 00000015") + AsksFile("\\d\\lies", "abc") + Asks("1/59", "1/60 00000000") +
                   AsksInfo("\\d\\lies", EntryXml("lies", "5")) + AsksFile("\\d\\grows", "abc") +
                   Asks("1/59", "1/60 00000000 6465 6667") + Asks("1/59", "1/60 00000000") +
                   AsksInfo("\\d\\grows", EntryXml("grows", "7", "A", "20100101T000000Z")) +
                   AsksFile("\\d\\last", "last") + kClosesFile);
  EXPECT_EQ(pull.code, 11);
  for (const char* why :
       {"\\d\\sub: ", "taken: 0x00000020", "breaks: reading at byte 3", "lies: 3 bytes came", "ZZZZ", "folder-here"})
    EXPECT_NE(pull.err.find(why), std::string::npos) << why << "\n" << pull.err;
  EXPECT_EQ(Everything(), (std::map<std::string, std::string>{{"target", "/"},
                                                              {"target/taken", "before"},
                                                              {"target/lies", "before"},
                                                              {"target/folder-here", "/"},
                                                              {"target/sub", "/"},
                                                              {"target/grows", "abcdefg"},
                                                              {"target/last", "last"}}));
  EXPECT_EQ(ModifiedOf(Path("grows")), 1262304000) << "the time that belongs to what was read";
}

TEST_F(Files, LostLinkLeavesTheOldFileAndAPartThatResumeVerifies) {
  Write("f", "old");
  const std::string first(16364, 'a'), asked = AsksInfo("\\f", EntryXml("f", "16370"));
  const auto lose = [&](std::vector<std::string> options) {
    ScriptedPhone phone(kBegin + asked + AsksFile("\\f", first) + "expect 1/59\n");
    options.insert(options.begin(), {"-d", phone.Address(), "--window", "1", "files", "pull", "/f", Path("f")});
    const Outcome outcome = RunBrelix(options);
    EXPECT_EQ(phone.Finish(), "");
    return outcome;
  };
  const Outcome lost = lose({});
  EXPECT_EQ(lost.code, 6);
  EXPECT_NE(lost.err.find("--resume"), std::string::npos) << lost.err;
  EXPECT_EQ(ReadFile(Path("f")), "old");
  EXPECT_EQ(PartFiles(), 1u);

  // The phone's file has changed since in its middle.
  std::string changed = first;
  changed[9000] = 'b';
  const std::string rest = AsksFile("\\f", changed) + Asks("1/59", "1/60 00000000 " + Hex("finis!")) + kClosesFile;
  const Outcome resumed = Run(asked + rest, {"--json", "files", "pull", "/f", Path("f"), "--resume"});
  EXPECT_EQ(resumed.code, 0) << resumed.err;
  EXPECT_EQ(json::parse(resumed.out, nullptr, false)["found_here"], 9000) << resumed.out;
  EXPECT_EQ(ReadFile(Path("f")), changed + "finis!");
  EXPECT_EQ(PartFiles(), 0u);

  EXPECT_EQ(Run(asked, {"files", "pull", "/f", Path("f"), "--resume"}).code, 0) << "whole: nothing is fetched";
  Write("f", "mine");
  EXPECT_EQ(Run(asked, {"files", "pull", "/f", Path("f"), "--skip-existing"}).code, 0);
  EXPECT_EQ(ReadFile(Path("f")), "mine");
  EXPECT_EQ(lose({"--resume"}).code, 6);
  EXPECT_EQ(ReadFile(Path("f")), "mine");
  const std::string shorter = AsksInfo("\\f", EntryXml("f", "2")) + AsksFile("\\f", "aa") + kClosesFile;
  EXPECT_EQ(Run(shorter, {"files", "pull", "/f", Path("f"), "--resume"}).code, 0);
  EXPECT_EQ(ReadFile(Path("f")), "aa") << "a part that is longer than the file ends where the file ends";
}

TEST_F(Files, InterruptClosesTheFileAndThenTheSession) {
  std::promise<pid_t> running;
  const std::string script =
      kBegin + AsksInfo("\\f", EntryXml("f", "")) + Asks("1/57 " + Hex("\\f"), "1/58 00000000") + "expect 1/59\ncall\n";
  ScriptedPhone phone(script + kClosesFile + kEnd, {}, [&] { kill(running.get_future().get(), SIGINT); });
  Process brelix(Brelix({"-d", phone.Address(), "files", "cat", "/f"}));
  running.set_value(brelix.pid());
  EXPECT_EQ(brelix.Wait().code, 130);
  EXPECT_EQ(phone.Finish(), "");
}

TEST_F(Files, TargetsThatCannotBeAreOneLine) {
  const std::string asked = AsksInfo("\\f", EntryXml("f", "2"));
  for (const std::string where : {"/nowhere/f", "/dev/null"}) {
    const Outcome pull = Run(asked, {"files", "pull", "/f", where});
    EXPECT_EQ(pull.code, 3) << where;
    EXPECT_EQ(std::count(pull.err.begin(), pull.err.end(), '\n'), 1) << pull.err;
  }
  fs::create_directories(target());
  EXPECT_EQ(Run(asked + AsksFile("\\f", "ok") + kClosesFile, {"files", "pull", "/f", target().string()}).code, 0);
  EXPECT_EQ(ReadFile(Path("f")), "ok") << "into the folder";
}

}  // namespace
}  // namespace brelix::test
