// Whole runs of the host program over a scripted radio, on Linux and as the phone's own file in the loader: whatever
// call fails, both publish the same bytes, say the same to the user and the desktop, and leave the same behind.
#include <algorithm>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <nlohmann/json.hpp>
#include <signal.h>
#include <sstream>
#include <thread>

#include "handset/Handset.h"
#include "tests/support/Process.h"
#include "tests/support/RadioDesktop.h"

namespace test {
namespace {

using nlohmann::json;

std::vector<std::string> Words(const std::string& text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), {}};
}

std::vector<std::string> LinuxHost(const std::string& phone) { return {BRELIX_LINUX_HOST, phone}; }

std::vector<std::string> PhoneHost(const std::string& phone, const std::string& options = {}) {
  auto words = Words(BRELIX_LOADER " " + options + " --check-leaks --program " BRELIX_HOST_PROGRAM " --phone");
  words.insert(words.end(), {phone, BRELIX_PHONE_LIBRARY});
  return words;
}

// What a run shows to the outside.
struct Shown {
  json whileListening;  // the radio; null when nobody listened
  std::string replies;
  int code = -1;
  std::string boxes;
  json afterwards;
  bool operator==(const Shown&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Shown& run) {
  return out << "exit code " << run.code << "\n"
             << run.boxes << run.replies << "\n"
             << run.whileListening << "\n"
             << run.afterwards << "\n";
}

json Radio(const std::string& phone) { return handset::Handset::Open(phone)->Describe()["bluetooth"]; }

bool HasEnded(pid_t process) {
  siginfo_t info{};
  return waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid != 0;
}

// A desktop greets and leaves; then the user ends the program.
Shown RunOnce(const json& description, const std::function<std::vector<std::string>(const std::string&)>& command) {
  const TemporaryFolder folder;
  const std::string phone = (folder.Path() / "phone").string();
  handset::Handset::Init(phone, description);
  Shown run;
  Process process(command(phone));
  RadioDesktop desktop;
  bool connected = false;
  while (!HasEnded(process.pid()) && !(connected = desktop.Connect(phone, 1))) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  if (connected) {
    desktop.Say(Frame(1, 247, 1));
    run.replies = ToHex(desktop.Hear(20));
    // A host that fails in its last step can be connected to for a moment, or not.
    if (!run.replies.empty()) run.whileListening = Radio(phone);
    desktop.Leave();
  }
  Outcome outcome = process.End(SIGTERM);
  run.code = outcome.code;
  for (std::size_t at = 0; (at = outcome.err.find("ce-loader: ")) != std::string::npos;) outcome.err.erase(at, 11);
  run.boxes = outcome.err;
  run.afterwards = Radio(phone);
  return run;
}

struct Case {
  const char* name;
  const char* description;
};

void PrintTo(const Case& run, std::ostream* out) { *out << run.name; }

constexpr Case kCases[] = {
    {"nothing_fails", R"({})"},
    {"no_mode", R"({"faults": [{"call": "BthGetMode"}]})"},
    {"mode_not_set", R"({"faults": [{"call": "BthSetMode"}]})"},
    {"mode_not_restored", R"({"faults": [{"call": "BthSetMode", "skip": 1}]})"},
    {"odd_mode", R"({"bluetooth": {"mode": 77}})"},
    {"no_winsock", R"({"faults": [{"call": "WSAStartup"}]})"},
    {"no_socket", R"({"faults": [{"call": "socket"}]})"},
    {"no_bind", R"({"faults": [{"call": "bind"}]})"},
    {"no_name", R"({"faults": [{"call": "getsockname"}]})"},
    {"no_record", R"({"faults": [{"call": "WSASetServiceW"}]})"},
    {"no_withdrawal", R"({"faults": [{"call": "WSASetServiceW", "skip": 1}]})"},
    {"no_listen", R"({"faults": [{"call": "listen"}]})"},
    {"option_taken", R"({"bluetooth": {"takesNoDelay": true}})"},
    {"option_refused_otherwise", R"({"faults": [{"call": "setsockopt", "result": 10050}]})"},
    {"no_accept", R"({"faults": [{"call": "accept"}]})"},
    {"no_send", R"({"faults": [{"call": "send", "result": 10054}]})"},
    {"no_close", R"({"faults": [{"call": "closesocket", "times": "always"}]})"},
    {"no_clean_up", R"({"faults": [{"call": "WSACleanup"}]})"},
};

class HostRun : public testing::TestWithParam<Case> {};

TEST_P(HostRun, is_the_same_on_linux_and_on_the_phone) {
  const json description = json::parse(GetParam().description);
  const Shown onLinux = RunOnce(description, LinuxHost);
  const Shown onPhone =
      RunOnce(description, [](const std::string& phone) { return PhoneHost(phone, "--stack-skew 4"); });
  EXPECT_EQ(onLinux, onPhone);
}

INSTANTIATE_TEST_SUITE_P(Faults, HostRun, testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(HostRunOnce, publishes_the_record_listens_and_gives_everything_back) {
  const Shown run =
      RunOnce({{"bluetooth", {{"mode", "off"}}}}, [](const std::string& phone) { return PhoneHost(phone); });
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(run.boxes, "+-- BrelixEngine\n| The agent is running.\n| \n| Close this box to end it.\n+--\n");
  EXPECT_EQ(run.replies, ToHex(ResultFrame(1, 248, 1, 0)));
  EXPECT_EQ(run.whileListening["mode"], "discoverable");
  ASSERT_EQ(run.whileListening["records"].size(), 1U);
  EXPECT_EQ(run.whileListening["records"][0]["hex"],
            "35780900013503191101"
            "0900020A00000002"
            "090004350C350319010035051900030801"
            "0900053503191002"
            "090006350909656E09006A090100"
            "09000808FF"
            "090100250A4272656C697820535050"
            "090101251453505020666F72204272656C697820746F6F6C73"
            "090102250F4272656C697820536F667477617265");
  EXPECT_EQ(run.afterwards["mode"], "off");
  EXPECT_TRUE(run.afterwards["records"].empty());
}

}  // namespace
}  // namespace test
