// Trees pulled from a served phone are the phone's trees, whatever comes in between.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>

#include "tests/e2e/ServedPhone.h"

namespace test {
namespace {

namespace fs = std::filesystem;

void SetTime(const fs::path& path, std::int64_t seconds) {
  const timespec time{seconds, 0};
  const timespec times[2] = {time, time};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
}

std::string Noise(std::mt19937& random, std::size_t size) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

// Path below the folder, kind and time of everything in it.
std::map<std::string, std::int64_t> Times(const fs::path& folder) {
  std::map<std::string, std::int64_t> times;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    struct stat now {};
    stat(entry.path().c_str(), &now);
    times[fs::relative(entry.path(), folder).string() + (entry.is_directory() ? "/" : "")] = now.st_mtim.tv_sec;
  }
  return times;
}

class Files : public testing::Test {
 protected:
  // Many files are brought to the disk one by one; a disk in memory is enough to see that they are right.
  static fs::path Scratch() { return fs::exists("/dev/shm") ? "/dev/shm" : fs::temp_directory_path(); }
  fs::path OnPhone(const std::string& name) const { return fs::path(phone.Path()) / "files" / name; }
  std::string Rapi() const { return "exec:" + std::string(BRELIX_PHONE_COMMAND) + " rapi " + phone.Path(); }
  std::string Target() const { return (folder.Path() / "target").string(); }
  // The unfinished file's size, 0 without one.
  std::uintmax_t Unfinished() const {
    for (const auto& entry : fs::directory_iterator(folder.Path()))
      if (entry.path().filename().string().starts_with(".brelix-part-")) return entry.file_size();
    return 0;
  }
  void AwaitUnfinished(std::uintmax_t bytes) const {
    for (int waited = 0; waited < 2000 && Unfinished() < bytes; ++waited)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ASSERT_GE(Unfinished(), bytes);
  }

  PhoneFolder phone{nlohmann::json::object()};
  TemporaryFolder folder{Scratch()};
};

TEST_F(Files, a_pulled_tree_of_2000_is_identical_with_its_times) {
  std::mt19937 random(5);
  constexpr std::size_t kSizes[] = {0, 1, 700, 5000, 16363, 16364, 16365, 40000};
  const char* const kNames[] = {"file", "caf\xC3\xA9", "\xE6\x97\xA5\xE6\x9C\xAC", "\xF0\x9F\x98\x80 x", "100% A+B"};
  for (int i = 0; i < 2000; ++i) {
    const fs::path in = OnPhone("Tree") / ("d" + std::to_string(i % 23)) / (i % 3 == 0 ? "e f" : "");
    fs::create_directories(in);
    const fs::path file = in / (std::string(kNames[i % 5]) + " " + std::to_string(i));
    std::ofstream(file, std::ios::binary) << Noise(random, kSizes[random() % std::size(kSizes)]);
    SetTime(file, 1000000000 + i * 77777);
  }
  fs::create_directories(OnPhone("Tree/empty"));
  for (const auto& entry : fs::recursive_directory_iterator(OnPhone("")))
    if (entry.is_directory()) SetTime(entry.path(), 1100000000);

  const Outcome pull = Brelix({"-d", Rapi(), "--json", "files", "pull", "/tree", Target()});
  EXPECT_EQ(pull.code, 0) << pull.err;
  EXPECT_EQ(nlohmann::json::parse(pull.out, nullptr, false)["files"], 2000) << pull.out;
  EXPECT_EQ(::test::Run({"/usr/bin/diff", "-r", OnPhone("Tree").string(), Target()}).out, "");
  EXPECT_EQ(Times(Target()), Times(OnPhone("Tree")));

  const Outcome again = Brelix({"-d", Rapi(), "--json", "files", "pull", "/tree", Target(), "--resume"});
  EXPECT_EQ(nlohmann::json::parse(again.out, nullptr, false)["skipped"], 2000) << again.out;
}

TEST_F(Files, an_interrupted_pull_leaves_the_old_file_and_is_resumed) {
  std::mt19937 random(6);
  const std::string some = Noise(random, 1 << 20);
  std::string bytes;
  for (int i = 0; i < 64; ++i) bytes += some;
  std::ofstream(OnPhone("big"), std::ios::binary) << bytes;
  std::ofstream(Target()) << "old";
  const std::vector<std::string> pull = {BRELIX_COMMAND, "-d", Rapi(), "--json", "files", "pull", "/big", Target()};
  Process interrupted(pull);
  AwaitUnfinished(100000);
  const Outcome outcome = interrupted.End(SIGINT);
  EXPECT_EQ(outcome.code, 130) << outcome.err;
  EXPECT_NE(outcome.err.find("--resume"), std::string::npos) << outcome.err;
  EXPECT_EQ(ReadFile(Target()), "old");
  const std::uintmax_t left = Unfinished();
  EXPECT_GE(left, 100000u);

  std::vector<std::string> resume = pull;
  resume.push_back("--resume");
  const Outcome resumed = ::test::Run(resume);
  EXPECT_EQ(resumed.code, 0) << resumed.err;
  EXPECT_EQ(nlohmann::json::parse(resumed.out, nullptr, false)["found_here"], left) << resumed.out;
  EXPECT_TRUE(ReadFile(Target()) == bytes);
  EXPECT_EQ(Unfinished(), 0u);
}

TEST_F(Files, a_lost_link_in_a_tree_is_resumed) {
  std::mt19937 random(7);
  fs::create_directories(OnPhone("Tree"));
  for (int i = 0; i < 4; ++i)
    std::ofstream(OnPhone("Tree") / std::to_string(i), std::ios::binary) << Noise(random, 50000);
  {
    Server server(phone, "unix:" + phone.SocketPath());
    Process pull({BRELIX_COMMAND, "-d", server.Address(), "files", "pull", "/Tree", Target()});
    for (int waited = 0; waited < 1000 && !fs::exists(fs::path(Target()) / "1"); ++waited)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    server.End(SIGKILL);
    const Outcome outcome = pull.Wait();
    EXPECT_EQ(outcome.code, 6) << outcome.err;
  }
  const Outcome resumed = Brelix({"-d", Rapi(), "--json", "files", "pull", "/Tree", Target(), "--resume"});
  EXPECT_EQ(resumed.code, 0) << resumed.err;
  EXPECT_GE(nlohmann::json::parse(resumed.out, nullptr, false)["skipped"], 2) << resumed.out;
  EXPECT_EQ(::test::Run({"/usr/bin/diff", "-r", OnPhone("Tree").string(), Target()}).out, "");
}

}  // namespace
}  // namespace test
