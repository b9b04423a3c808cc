#include <chrono>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <signal.h>
#include <sstream>
#include <unistd.h>

#include "tests/desktop/ModelAgent.h"
#include "tests/desktop/RunBrelix.h"
#include "tests/desktop/ScriptedPhone.h"

namespace brelix::test {
namespace {

using nlohmann::json;

const std::string kXml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
const std::map<std::string, std::string> kDocuments = {
    {"permanent", kXml + "<permanentinfo>\n  <cpumanufacturer>A & B</cpumanufacturer>\n"
                         "  <cpumodel>\xED\xA0\xBD\xED\xB8\x80</cpumodel>\n  <radioversion></radioversion>\n"
                         "  <imei>35\xE9</imei>\n  <osversion>5.2.1235</osversion>\n"
                         "  <flashfolder>Storage Card</flashfolder>\n</permanentinfo>\n"},
    {"bare", kXml + "<permanentinfo>\n  <cpumanufacturer></cpumanufacturer>\n  <cpumodel>\033[2J</cpumodel>\n"
                    "  <radioversion></radioversion>\n  <imei></imei>\n</permanentinfo>\n"},
    {"volatile", kXml + "<volatileinfo>\n  <phonetime>20090712T134501Z</phonetime>\n  <memoryload>45</memoryload>\n"
                        "  <totalmemory>-2147483648</totalmemory>\n  <availmemory>1572864</availmemory>\n"
                        "  <acpower>off</acpower>\n  <batterystatus>low</batterystatus>\n"
                        "  <batterylifepercent>17</batterylifepercent>\n</volatileinfo>\n"},
    {"powerless", kXml + "<volatileinfo>\n  <phonetime>?</phonetime>\n  <memoryload>x</memoryload>\n"
                         "  <totalmemory>1</totalmemory>\n  <availmemory>0</availmemory>\n"
                         "  <batterystatus>unknown</batterystatus>\n"
                         "  <batterylifepercent>unknown</batterylifepercent>\n</volatileinfo>\n"},
};

std::string Asks(const std::string& request, const std::string& answer) {
  return "expect " + request + "\nreply " + answer + "\n";
}
const std::string kInfo = kBegin + Asks("1/15", "1/16 00000000 $permanent") + Asks("1/257", "1/258 00000000 2b3439");
const std::string kClock = kBegin + Asks("1/17", "1/18 00000000 $volatile");

// Runs the command against a phone that follows the script.
Outcome Serve(const std::string& script, std::vector<std::string> arguments) {
  ScriptedPhone phone(script, kDocuments);
  arguments.insert(arguments.begin(), {"-d", phone.Address()});
  const Outcome outcome = RunBrelix(arguments);
  EXPECT_EQ(phone.Finish(), "") << arguments[2];
  return outcome;
}

// Runs of blanks as one, so that a table's layout does not matter.
std::string Squeezed(const std::string& text) {
  std::string out;
  for (const char c : text)
    if (c != ' ' || out.empty() || out.back() != ' ') out += c;
  return out;
}

bool Has(const std::string& text, const std::string& part) { return text.find(part) != text.npos; }

bool OneLine(const std::string& text) { return text.find('\n') == text.size() - 1 && text.starts_with("brelix:"); }

TEST(Command, SpeaksJsonToPrograms) {
  struct Row {
    std::string script;
    std::vector<std::string> arguments;
    json expected;
  };
  const Row rows[] = {
      {kInfo,
       {"info"},
       {{"imei", "35\xC3\xA9"},
        {"number", "+49"},
        {"manufacturer", "A & B"},
        {"model", "\xF0\x9F\x98\x80"},
        {"radio_version", nullptr},
        {"os_version", "5.2.1235"},
        {"storage_card", "Storage Card"}}},
      {kClock,
       {"status"},
       {{"memory_load_percent", 45},
        {"memory_total_bytes", 2147483648},
        {"ac_power", false},
        {"memory_available_bytes", 1572864},
        {"battery", "low"},
        {"battery_percent", 17}}},
      {kBegin + Asks("1/17", "1/18 00000000 $powerless"),
       {"status"},
       {{"memory_load_percent", nullptr},
        {"memory_total_bytes", 1},
        {"memory_available_bytes", 0},
        {"ac_power", nullptr},
        {"battery", nullptr},
        {"battery_percent", nullptr}}},
      {kClock,
       {"clock"},
       {{"phone_time", "2009-07-12T13:45:01"}, {"open_time", "2009-07-12T13:45"}, {"time_zone", "device-local"}}},
  };
  for (const Row& row : rows) {
    auto arguments = row.arguments;
    arguments.push_back("--json");
    const Outcome outcome = Serve(row.script + kEnd, arguments);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(json::parse(outcome.out, nullptr, false), row.expected) << outcome.out;
  }
}

TEST(Command, ShowsPeopleATableThatCannotSteerTheirTerminal) {
  const Outcome info =
      Serve(kBegin + Asks("1/15", "1/16 00000000 $bare") + Asks("1/257", "1/258 00000000") + kEnd, {"info"});
  EXPECT_EQ(info.code, 0) << info.err;
  EXPECT_EQ(info.out.find('\033'), std::string::npos);
  EXPECT_TRUE(Has(Squeezed(info.out), "\nModel \u241B[2J\n")) << info.out;
  EXPECT_TRUE(Has(Squeezed(info.out), "IMEI unknown\n")) << info.out;
  const Outcome status = Serve(kClock + kEnd, {"status"});
  EXPECT_TRUE(Has(Squeezed(status.out), "\nMemory 2.0 GiB\n")) << status.out;
}

TEST(Command, RawSendsWhatItIsToldAndNoMore) {
  const std::string handshake = Asks("1/247", "1/248 00000000");
  struct Row {
    std::string script;
    std::vector<std::string> arguments;
    int code;
    std::string kind, data;
  };
  const Row rows[] = {
      {kBegin + Asks("3/9 0000002a", "3/10 0000 0000 ff") + kEnd,
       {"raw", "3", "0x9", "0000", "002A"},
       0,
       "answer",
       "00000000ff"},
      {handshake + Asks("3/5", "1/0") + "end", {"raw", "--no-open", "3", "5"}, 7, "default", ""},
      {Asks("7/9", "7/10") + "end", {"raw", "--no-handshake", "7", "9"}, 7, "refused", ""},
  };
  for (const Row& row : rows) {
    auto arguments = row.arguments;
    arguments.insert(arguments.begin(), "--json");
    const Outcome outcome = Serve(row.script, arguments);
    EXPECT_EQ(outcome.code, row.code) << outcome.err;
    const json reply = json::parse(outcome.out, nullptr, false);
    ASSERT_TRUE(reply.is_object()) << outcome.out;
    EXPECT_EQ(reply["kind"], row.kind);
    EXPECT_EQ(reply["data"], row.data);
  }
}

TEST(Command, EndsWithThePromisedCodeAndOneLine) {
  struct Row {
    int code;
    std::function<Outcome()> run;
  };
  const Row rows[] = {
      {2, [] { return RunBrelix({"frobnicate"}); }},
      {2,
       [] {
         return RunBrelix({"--timeout", "0", "info"});
       }},
      {2,
       [] {
         return RunBrelix({"-d", "carrier-pigeon", "info"});
       }},
      {2,
       [] {
         return RunBrelix({"-d", "tcp:127.0.0.1:1", "raw", "0x5801", "1"});
       }},
      {2,
       [] {
         return RunBrelix({"-d", "tcp:127.0.0.1:1", "raw", "1", "1", "5a5a5a5a"});
       }},
      {2,
       [] {
         return RunBrelix({"-d", "tcp:127.0.0.1:1", "raw", "1", "1", "123"});
       }},
      {3,
       [] {
         return RunBrelix({"-d", "tcp:127.0.0.1:1", "--trace", "/nowhere/trace", "info"});
       }},
      {3,
       [] {
         return Process(Brelix({"help", "exit-codes"}), "/dev/full").Wait();
       }},
      {4,
       [] {
         return RunBrelix({"-d", "tcp:127.0.0.1:1", "info"});
       }},
      {4,
       [] {
         return RunBrelix({"-d", "unix:/nowhere/socket", "info"});
       }},
      {6, [] { return Serve("expect 1/247", {"info"}); }},
      {6,
       [] {
         return Serve("expect 1/247\nend", {"--timeout", "0.3", "info"});
       }},
      {7, [] { return Serve("expect 1/247\nreply 1/248\nend", {"info"}); }},
      {8, [] { return Serve(kBegin + Asks("1/15", "1/16 80070005") + kEnd, {"info"}); }},
      {12, [] { return Serve(kBegin + Asks("1/15", "1/16 00000000 3c61") + kEnd, {"info"}); }},
      {12, [] { return Serve(kBegin + Asks("1/15", "3/16 00000000") + kEnd, {"info"}); }},
  };
  const Outcome table = RunBrelix({"help", "exit-codes"});
  for (const Row& row : rows) {
    const Outcome outcome = row.run();
    EXPECT_EQ(outcome.code, row.code) << outcome.err;
    EXPECT_TRUE(OneLine(outcome.err)) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_TRUE(Has(Squeezed("\n" + table.out), "\n " + std::to_string(row.code) + " ")) << table.out;
  }
  EXPECT_NE(rows[13].run().err.find("E_ACCESSDENIED"), std::string::npos);
}

TEST(Command, ExecutedPhoneThatEndsIsNoDevice) {
  const Outcome gone = RunBrelix({"-d", "exec:exit 7", "info"});
  EXPECT_EQ(gone.code, 4) << gone.err;
  EXPECT_NE(gone.err.find("exit status 7"), std::string::npos) << gone.err;
  const Outcome mute = RunBrelix({"-d", "exec:exec sleep 60", "--timeout", "0.3", "info"});
  EXPECT_EQ(mute.code, 6) << "told to go, and did: " << mute.err;
}

TEST(Command, TraceShowsEveryFrameBothWays) {
  const std::string path = FreshPath();
  EXPECT_EQ(Serve(kClock + kEnd, {"--trace", path, "clock"}).code, 0);
  const std::string trace = ReadFile(path);
  unlink(path.c_str());
  std::istringstream lines(Squeezed(trace));
  std::string seen;
  for (std::string line; std::getline(lines, line);) {
    const size_t at = line.find(" module 1 (system), command ");
    if (at == line.npos) continue;
    EXPECT_GE(std::stod(line), 0.0);
    seen += line[at - 1] + line.substr(at + 28, line.find(',', at + 28) - at - 28) + " ";
  }
  EXPECT_EQ(seen, ">247 <248 >1 <2 >17 <18 >3 <4 ");
  EXPECT_NE(trace.find("58 58 58 58 00 01 00 02 00 0c 00 00 00 00 02 b5"), std::string::npos) << trace;
}

// Interrupts a brelix that is talking to the phone; the script says when by "call".
struct Interrupted {
  Interrupted(const std::string& script, int signal) {
    std::promise<pid_t> running;
    const std::shared_future<pid_t> brelix = running.get_future().share();
    ScriptedPhone phone(script, {}, [&] {
      when = std::chrono::steady_clock::now();
      kill(brelix.get(), signal);
    });
    Process process(Brelix({"-d", phone.Address(), "info"}));
    running.set_value(process.pid());
    outcome = process.Wait();
    const auto ended = std::chrono::steady_clock::now();
    script_error = phone.Finish();
    after = ended - when;
  }

  Outcome outcome;
  std::string script_error;
  std::chrono::steady_clock::time_point when;   // the last interrupt
  std::chrono::steady_clock::duration after{};  // from there to the end
};

// A phone of forty contacts that cannot be read.
std::string FortyContacts(const Frame& request) {
  if (request.module == 1 && request.command == 1)
    return ModelAgent::Reply(request, std::string("\x02\xb5\x07\xd9\x07\x0c\x0d\x2d", 8));
  if (request.command == 5) return ModelAgent::Reply(request, std::string("\0\0\0\x28", 4));
  std::string reply = ModelAgent::Reply(request, "");
  if (request.command == 9) reply[13] = 5;  // the last byte of the result
  return reply;
}

// How many bytes a phone gets beside requests while it is compared.
size_t FillerOfDiff(const std::string& window) {
  ModelAgent first(FortyContacts), second(FortyContacts);
  const Outcome outcome =
      RunBrelix({"--window", window, "diff", first.Address(), second.Address(), "--only", "contacts"});
  EXPECT_EQ(outcome.code, 11) << outcome.err;
  const ModelAgent::Seen& seen = second.Finish();
  size_t filler = seen.bytes, items = 0;
  for (const Frame& request : seen.requests) {
    filler -= 16 + request.data.size();
    items += request.module == 3 && request.command == 9 ? 1 : 0;
  }
  EXPECT_EQ(items, 40u);
  return filler;
}

TEST(Command, DiffKeepsToTheWindow) {
  EXPECT_EQ(FillerOfDiff("1"), 0u);
  EXPECT_GT(FillerOfDiff("100"), 1000u);
}

TEST(Command, InterruptClosesTheSessionFirst) {
  for (const int signal : {SIGINT, SIGTERM}) {
    const Interrupted run(kBegin + "expect 1/15\ncall\n" + kEnd, signal);
    EXPECT_EQ(run.outcome.code, 130) << run.outcome.err;
    EXPECT_EQ(run.outcome.out, "");
    EXPECT_EQ(run.script_error, "");
  }
}

TEST(Command, SecondInterruptGivesUpAtOnce) {
  const Interrupted run(kBegin + "expect 1/15\ncall\nexpect 1/3\ncall\nend\n", SIGINT);
  EXPECT_EQ(run.outcome.code, 130) << run.outcome.err;
  EXPECT_EQ(run.script_error, "");
  EXPECT_LT(run.after, std::chrono::milliseconds(1500));
}

}  // namespace
}  // namespace brelix::test
