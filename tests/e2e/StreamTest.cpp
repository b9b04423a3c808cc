// Reading ahead of the answers, on the real agent with its real sleeps and over links with a delay.
#include <fmt/format.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include "tests/e2e/ServedPhone.h"
#include "tests/support/SlowLink.h"

namespace test {
namespace {

using nlohmann::json;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Contacts, appointments, calls, messages, keys and values, so many of each.
json PhoneOf(int count) {
  json phone, messages, values;
  for (int i = 0; i < count; ++i) {
    const std::string name = fmt::format("Person {}", i);
    phone["contacts"].push_back({{"FirstName", name}, {"FileAs", name}, {"Body", std::string(i % 50, 'n')}});
    phone["calls"].push_back({{"start", "2009-07-12T11:02:10Z"}, {"end", "2009-07-12T11:05:47Z"}, {"name", name}});
    messages.push_back({{"sender", {{"name", name}, {"address", "+15550101"}}}, {"subject", name}});
    values.push_back({{"name", name}, {"type", "sz"}, {"data", name}});
    if (i % 10 == 0) phone["registry"].push_back({{"key", fmt::format("HKLM\\A{}\\B{}", i, i)}, {"values", values}});
    phone["appointments"].push_back(
        {{"Subject", name}, {"Start", "2009-07-12T13:45:00"}, {"End", "2009-07-12T14:45:00"}});
  }
  phone["accounts"] = {{{"name", "SMS"}, {"folders", {{{"name", "Inbox"}, {"messages", messages}}}}}};
  return phone;
}

json BigPhone(int count, std::size_t body) {
  json phone;
  for (int i = 0; i < count; ++i) {
    phone["contacts"].push_back({{"FirstName", fmt::format("Person {}", i)}, {"Body", std::string(body, 'b')}});
  }
  return phone;
}

LinkSettings Bluetooth() { return {.delay = milliseconds(20), .bytes_per_second = 200'000}; }

double SecondsOf(const std::function<void()>& act) {
  const auto start = steady_clock::now();
  act();
  return std::chrono::duration<double>(steady_clock::now() - start).count();
}

// Over the remote-API stream, one by one, is what every other way must come to.
TEST(Stream, BringsTheSameByteForByteHoweverItIsAsked) {
  const PhoneFolder phone(PhoneOf(40));
  const std::string rapi = fmt::format("exec:{} rapi {} --no-log", BRELIX_PHONE_COMMAND, phone.Path());
  const std::vector<std::vector<std::string>> commands = {
      {"contacts", "export", "--vcard", "-"},   {"agenda", "list", "--json"},
      {"calls", "export", "--csv", "-"},        {"messages", "list", "SMS", "Inbox", "--json"},
      {"registry", "export", "HKLM", "--utf8"}, {"files", "ls", "-R", "--json"}};
  const auto answers = [&](std::vector<std::string> how) {
    std::vector<std::string> all;
    for (const auto& command : commands) {
      std::vector<std::string> words = how;
      words.insert(words.end(), command.begin(), command.end());
      const Outcome outcome = Brelix(words);
      EXPECT_EQ(outcome.code, 0) << outcome.err;
      all.push_back(outcome.out);
    }
    return all;
  };
  const auto expected = answers({"-d", rapi, "--window", "1"});
  EXPECT_EQ(answers({"-d", rapi}), expected);
  EXPECT_EQ(answers({"-d", rapi, "--window", "3"}), expected);
  Server server(phone, "unix:" + phone.SocketPath());
  EXPECT_EQ(answers({"-d", server.Address()}), expected);
  EXPECT_EQ(answers({"-d", server.Address(), "--window", "5"}), expected);
  SlowLink link(server.Address(), Bluetooth());
  EXPECT_EQ(answers({"-d", link.Address()}), expected);
  EXPECT_EQ(server.End(SIGTERM).code, 0) << "nothing is left open on the phone";
}

// 300 sleeps of 100 ms are what one by one takes at the least.
TEST(Stream, DoesNotWaitForTheAgentToWakeUp) {
  const PhoneFolder phone(PhoneOf(300));
  Server server(phone, "tcp:127.0.0.1:0");
  const auto list = [](const std::string& address) {
    const Outcome outcome = Brelix({"-d", address, "contacts", "list"});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
  };
  EXPECT_LT(SecondsOf([&] { list(server.Address()); }), 10);
  SlowLink link(server.Address(), Bluetooth());
  EXPECT_LT(SecondsOf([&] { list(link.Address()); }), 15);
}

TEST(Stream, InterruptedInTheMiddleLeavesAPhoneThatTheNextSessionFindsAsItShouldBe) {
  const PhoneFolder phone(BigPhone(1000, 1000));
  Server server(phone, "tcp:127.0.0.1:0");
  SlowLink link(server.Address(), Bluetooth());
  Process brelix({BRELIX_COMMAND, "-d", link.Address(), "contacts", "export", "--vcard", "-"});
  std::this_thread::sleep_for(milliseconds(1500));  // by now the contacts come
  Outcome outcome;
  EXPECT_LT(SecondsOf([&] { outcome = brelix.End(SIGINT); }), 20);
  EXPECT_EQ(outcome.code, 130) << outcome.err;
  const Outcome next = Brelix({"-d", server.Address(), "contacts", "export", "--vcard", "-", "--window", "2048"});
  EXPECT_EQ(next.code, 0) << next.err;
  std::size_t cards = 0;
  for (std::size_t at = 0; (at = next.out.find("BEGIN:VCARD", at)) != next.out.npos; ++at) ++cards;
  EXPECT_EQ(cards, 1000u);
  EXPECT_EQ(next.err, "") << "no other session, nothing left open";
  EXPECT_EQ(server.End(SIGTERM).code, 0);
}

// A link that is lost leaves requests in the agent's buffer, which the next desktop has to get past.
TEST(Stream, LostInTheMiddleDoesNotKeepTheNextSessionWaiting) {
  const PhoneFolder phone(BigPhone(1000, 1000));
  Server server(phone, "tcp:127.0.0.1:0");
  for (const std::uint64_t cut : {std::uint64_t{90'000}, std::uint64_t{300'000}}) {
    SlowLink link(server.Address(), {.bytes_per_second = 1'000'000, .cut_down = cut});
    EXPECT_EQ(Brelix({"-d", link.Address(), "contacts", "export", "--vcard", "-"}).code, 6);
    Outcome next;
    const double seconds = SecondsOf([&] { next = Brelix({"-d", server.Address(), "status"}); });
    EXPECT_EQ(next.code, 0) << next.err;
    EXPECT_LT(seconds, 8);
  }
}

// KiB at the most.
long PeakMemory(const std::string& folder) {
  const std::string phone = fmt::format("exec:{} rapi {} --no-log", BRELIX_PHONE_COMMAND, folder);
  const pid_t pid = fork();
  if (pid == 0) {
    setenv("ASAN_OPTIONS", "quarantine_size_mb=1", 1);  // what was freed counts otherwise
    execl(BRELIX_COMMAND, BRELIX_COMMAND, "-d", phone.c_str(), "contacts", "export", "--vcard", "/dev/null", nullptr);
    _exit(127);
  }
  int status = 0;
  rusage used{};
  wait4(pid, &status, 0, &used);
  EXPECT_EQ(status, 0);
  return used.ru_maxrss;
}

TEST(Stream, MemoryDoesNotGrowWithThePhone) {
  const PhoneFolder small(BigPhone(50, 10'000)), large(BigPhone(1000, 10'000));
  const long few = PeakMemory(small.Path()), many = PeakMemory(large.Path());
  EXPECT_LT(many, few + 3 * 1024) << few << " KiB, then " << many << " for 10 MB of contacts";
}

}  // namespace
}  // namespace test
