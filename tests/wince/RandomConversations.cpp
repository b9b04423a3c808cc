// Holds random conversations with two builds of the agent, each with a phone of its own from the same description, and
// compares everything that can be seen of them: the bytes they say, the boxes they show, how they end and what they
// leave in the phone's files.
//
//   random_conversations --phone-tool brelix-phone --left COMMAND --right COMMAND [--first SEED] [--count N]
//
// In the commands {phone} stands for the phone's folder. A conversation that differs is told by its seed.
#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "tests/support/Bytes.h"
#include "tests/wince/Command.h"
#include "tests/wince/OddItems.h"
#include "tests/wince/OddMessages.h"

namespace test {
namespace {

using nlohmann::json;

// Calls that the engine asks on the way of a stream's session, and that may fail without the session hanging on a
// thread that never runs.
const std::vector<std::string>& FaultyCalls() {
  static const std::vector<std::string> calls{"CreateThread",
                                              "CloseHandle",
                                              "LocalAlloc",
                                              "GetVersionExW",
                                              "GetSystemPowerStatusEx2",
                                              "fopen",
                                              "fputs",
                                              "fclose",
                                              "RegOpenKeyExW",
                                              "RegQueryValueExW",
                                              "RegEnumKeyExW",
                                              "RegEnumValueW",
                                              "FindFirstFileExW",
                                              "FindNextFileW",
                                              "FindClose",
                                              "CreateFileW",
                                              "ReadFile",
                                              "FileTimeToSystemTime",
                                              "RegCloseKey",
                                              "lineInitializeEx",
                                              "lineNegotiateAPIVersion",
                                              "lineGetDevCaps",
                                              "lineOpen",
                                              "lineNegotiateExtVersion",
                                              "lineClose",
                                              "lineShutdown",
                                              "lineGetGeneralInfo",
                                              "CoCreateInstance",
                                              "IPOutlookApp::Logon",
                                              "IPOutlookApp::Logoff",
                                              "IPOutlookApp::GetDefaultFolder",
                                              "IFolder::get_Items",
                                              "IPOutlookItemCollection::get_Count",
                                              "IPOutlookItemCollection::Release",
                                              "IPOutlookItemCollection::Add",
                                              "IPOutlookItemCollection::Item",
                                              "IPOutlookApp::GetItemFromOid",
                                              "SysAllocString",
                                              "VariantTimeToSystemTime",
                                              "SystemTimeToVariantTime",
                                              "GetProcessHeap",
                                              "HeapFree",
                                              "IContact::QueryInterface",
                                              "IContact::get_Oid",
                                              "IContact::get_Anniversary",
                                              "IContact::put_Birthday",
                                              "IContact::get_Body",
                                              "IContact::get_JobTitle",
                                              "IContact::put_FirstName",
                                              "IContact::Save",
                                              "IContact::Delete",
                                              "IContact::Release",
                                              "IItem::GetProps",
                                              "IItem::SetProps",
                                              "IItem::OpenProperty",
                                              "IItem::Save",
                                              "IItem::Release",
                                              "IStream::Read",
                                              "IStream::Write",
                                              "IStream::Seek",
                                              "IStream::SetSize",
                                              "IStream::Commit",
                                              "IStream::Release",
                                              "IAppointment::get_Start",
                                              "IAppointment::get_AllDayEvent",
                                              "IAppointment::get_Recipients",
                                              "IAppointment::GetRecurrencePattern",
                                              "IAppointment::Release",
                                              "IRecurrencePattern::get_NoEndDate",
                                              "IRecurrencePattern::get_PatternEndDate",
                                              "IRecurrencePattern::get_Interval",
                                              "IRecurrencePattern::get_Instance",
                                              "IRecurrencePattern::Release",
                                              "IRecipients::Release",
                                              "PhoneOpenCallLog",
                                              "PhoneCloseCallLog",
                                              "MAPIInitialize",
                                              "MAPILogonEx",
                                              "IMAPISession::Logoff",
                                              "FileTimeToLocalFileTime",
                                              "FileTimeToSystemTime",
                                              "PhoneGetCallLogEntry",
                                              "PhoneSeekCallLog",
                                              "IMAPISession::GetMsgStoresTable",
                                              "IMAPISession::OpenMsgStore",
                                              "IMAPISession::OpenEntry",
                                              "IMAPITable::SetColumns",
                                              "IMAPITable::SortTable",
                                              "IMAPITable::QueryRows",
                                              "IMAPITable::Release",
                                              "IMsgStore::GetProps",
                                              "IMAPIFolder::GetProps",
                                              "IMAPIFolder::GetContentsTable",
                                              "IMAPIFolder::GetHierarchyTable",
                                              "IMAPIFolder::OpenEntry",
                                              "IMAPIFolder::Release",
                                              "IMessage::GetProps",
                                              "IMessage::GetRecipientTable",
                                              "IMessage::Release",
                                              "SmsOpen",
                                              "SmsSendMessage",
                                              "SmsGetMessageStatus",
                                              "SmsClose",
                                              "IRAPIStream::Read",
                                              "IRAPIStream::Write"};
  return calls;
}

json OddLine(Random& random) {
  json line{{"name", random.OneIn(5) ? "Serial Cable" : "Cellular Line"}};
  for (const char* key : {"manufacturer", "model", "revision", "serialNumber", "subscriberNumber"}) {
    if (!random.OneIn(4)) line[key] = OddText(random);
  }
  if (random.OneIn(8)) line["radioOff"] = true;
  if (random.OneIn(12)) line["operationUnavailable"] = true;
  return line;
}

json OddFiles(Random& random) {
  json files = json::array();
  std::string letters = "AHSR";
  for (unsigned count = random.OneIn(4) ? random.Below(400) : random.Below(5); count > 0; --count) {
    // Times that host file systems have.
    const std::int64_t modified = 119600000000000000 + std::int64_t{random.Word()} * 3000000;
    json file{{"path", fmt::format("\\F\\{}{}", count, std::string(random.Below(60), 'n'))},
              {"size", random.OneIn(3) ? random.Below(40000) : random.Below(50)},
              {"hex", fmt::format("{:02X}{:02X}", random.Below(256), random.Below(256))},
              {"modified", {{"fileTime", modified}}}};
    if (random.OneIn(3)) file["attributes"] = letters.substr(random.Below(5));
    files.push_back(file);
  }
  const json folderTime{{"fileTime", std::int64_t{128000000000000000}}};
  if (random.OneIn(2)) files.push_back({{"path", "\\F\\sub"}, {"folder", true}, {"modified", folderTime}});
  files.push_back({{"path", "\\F"}, {"folder", true}, {"modified", folderTime}});
  return files;
}

json OddRegistry(Random& random) {
  json keys = json::array();
  for (unsigned count = random.Below(5); count > 0; --count) {
    json key{{"key", fmt::format("HKLM\\K\\{}", count)}, {"values", json::array()}};
    for (unsigned values = random.Below(5); values > 0; --values) {
      std::string hex;
      for (unsigned bytes = random.OneIn(6) ? 8180 + random.Below(30) : random.Below(20); bytes > 0; --bytes) {
        hex += fmt::format("{:02X}", random.OneIn(3) ? 0 : random.Below(256));
      }
      key["values"].push_back(
          {{"name", fmt::format("v{}", values)}, {"type", random.Below(9)}, {"data", {{"hex", hex}}}});
    }
    keys.push_back(key);
  }
  return keys;
}

json OddPhone(Random& random) {
  json phone{
      {"clock",
       {{"localTime", fmt::format("20{:02}-{:02}-{:02}T{:02}:{:02}:{:02}.000", random.Below(100), 1 + random.Below(12),
                                  1 + random.Below(28), random.Below(24), random.Below(60), random.Below(60))}}}};
  phone["lines"] = json::array();
  for (unsigned lines = random.Below(4); lines > 0; --lines) phone["lines"].push_back(OddLine(random));
  if (random.OneIn(2)) {
    phone["memory"] = {{"load", random.Word()}, {"totalPhysical", random.Word()}, {"availablePhysical", random.Word()}};
  }
  if (random.OneIn(2)) {
    phone["os"] = {{"major", random.Word()}, {"minor", random.Word()}, {"build", random.Word()}};
  }
  if (random.OneIn(2)) {
    phone["power"] = {
        {"acLine", random.Below(256)}, {"batteryFlag", random.Below(256)}, {"batteryPercent", random.Below(256)}};
  }
  AddOddItems(random, phone);
  AddOddMessages(random, phone);
  if (random.OneIn(2)) phone["files"] = OddFiles(random);
  if (random.OneIn(2)) phone["registry"] = OddRegistry(random);
  for (unsigned faults = random.OneIn(2) ? random.Below(4) : 0; faults > 0; --faults) {
    json fault{{"call", random.Of(FaultyCalls())},
               {"skip", random.OneIn(3) ? random.Below(6) : 0},
               {"times", 1 + random.Below(2)}};
    static const std::vector<std::string> withoutCode{
        "LocalAlloc",    "fopen", "SysAllocString", "VariantTimeToSystemTime", "SystemTimeToVariantTime",
        "GetProcessHeap"};
    const bool hasCode = std::find(withoutCode.begin(), withoutCode.end(), fault["call"]) == withoutCode.end();
    if (random.OneIn(3) && hasCode) fault["result"] = 0x80000000U | random.Word();
    phone["faults"].push_back(fault);
  }
  return phone;
}

Bytes OddData(Random& random) {
  Bytes data(random.OneIn(10) ? random.Below(3000) : random.Below(24));
  for (std::uint8_t& byte : data) byte = static_cast<std::uint8_t>(random.Word());
  return data;
}

Bytes OddFrame(Random& random, std::uint16_t number) {
  static const std::vector<std::uint16_t> modules{1, 1, 1, 3, 4, 5, 6, 0, 2, 7, 0xFFFF};
  static const std::vector<std::uint16_t> commands{1, 3, 5, 7, 9, 15, 17, 49, 247, 247, 257, 259, 285, 449};
  const std::uint16_t module = random.Of(modules);
  const auto command = random.OneIn(6) ? static_cast<std::uint16_t>(random.Word()) : random.Of(commands);
  const Bytes data = random.OneIn(3) ? OddData(random) : Bytes{};
  if (!random.OneIn(12)) return Frame(module, command, number, data);
  return FrameWithLength(module, command, static_cast<std::uint16_t>(random.Below(64)), number, data);
}

// What asks for folders, files and the registry, in an order that often makes sense.
Bytes OddAccess(Random& random, std::uint16_t number) {
  static const std::vector<std::string> paths{"\\F\\*",
                                              "\\f\\?",
                                              "\\F\\1*",
                                              "\\F\\1",
                                              "\\F",
                                              "\\F\\sub",
                                              "\\*",
                                              "\\",
                                              "",
                                              "\\none\\a",
                                              "\\F\\..\\F",
                                              "\\F\\a:b",
                                              "HKLM",
                                              "hklm\\k\\1",
                                              "HKLM\\K",
                                              "HKLM\\K\\1\\v1",
                                              "HKLM\\K\\2\\V2",
                                              "HKLM\\v1",
                                              "HKCU\\",
                                              "HKU\\x"};
  static const std::vector<std::uint16_t> commands{51, 53, 53, 53, 53, 55, 57, 59, 59, 59, 61, 93, 103, 105, 107, 107};
  const std::uint16_t command = random.Of(commands);
  Bytes data = FromText(random.Of(paths));
  if (random.OneIn(12)) data = data + OddData(random);
  return Frame(1, command, number, data);
}

std::string OddSpeech(Random& random) {
  Bytes said;
  if (!random.OneIn(10)) said = said + Frame(1, 247, 0x0101);
  if (!random.OneIn(10)) said = said + Frame(1, 1, 0x0102);
  const bool asksForItems = random.OneIn(2);
  const bool asksForMessages = random.OneIn(2);
  const bool asksForFiles = random.OneIn(2);
  if (asksForItems) said = said + Frame(3, 1, 0x0103) + Frame(4, 1, 0x0104);
  for (unsigned frames = random.Below(30); frames > 0; --frames) {
    const auto number = static_cast<std::uint16_t>(random.Word());
    if (asksForMessages && !random.OneIn(4)) {
      said = said + OddMessageFrame(random, number);
    } else if (asksForItems && !random.OneIn(4)) {
      said = said + OddItemFrame(random, number);
    } else if (asksForFiles && !random.OneIn(3)) {
      said = said + OddAccess(random, number);
    } else {
      said = said + (random.OneIn(15) ? OddData(random) : OddFrame(random, number));
    }
  }
  const Bytes name = FromText(std::string("A") + '\0');
  if (asksForMessages) said = said + Frame(6, 1, 0x0106, name) + Frame(6, 5, 0x0107, name) + Frame(5, 1, 0x0108);
  for (int i = 0; asksForMessages && i < 4; ++i) said = said + Frame(6, 15, 0x0109) + Frame(5, 41, 0x010a);
  // What the phone holds then.
  for (std::uint32_t place = 1; asksForItems && place < 4; ++place) said = said + Frame(3, 9, 0x0105, U32(place));
  if (random.OneIn(4)) said = said + Frame(1, 2303, 0x0F0F);
  if (random.OneIn(6) && !said.empty()) said.resize(random.Below(static_cast<unsigned>(said.size())));
  return {said.begin(), said.end()};
}

std::string Replace(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

constexpr const char* kStillHeld = "still held: ";

struct Outcome {
  Heard heard;
  std::string log;  // what the agent wrote to its file
  bool operator==(const Outcome&) const = default;
};

struct Commands {
  std::string phoneTool;
  std::string left;
  std::string right;
};

Outcome Hold(const std::string& command, const Commands& commands, const json& phone, const std::string& speech) {
  const TemporaryFolder folder;
  const std::string description = (folder.Path() / "phone.json").string();
  std::ofstream(description) << phone;
  const std::string made = (folder.Path() / "phone").string();
  const Heard init = RunCommand(commands.phoneTool + " init " + made + " --from " + description, {});
  if (init.exitCode != 0) throw std::runtime_error("the phone could not be made: " + init.error);
  Outcome outcome{RunCommand(Replace(command, "{phone}", made), speech), {}};
  // The two programs tell of leaks under their own names.
  for (const char* name : {"brelix-phone: ", "ce-loader: "}) {
    outcome.heard.error = Replace(outcome.heard.error, std::string(name) + kStillHeld, kStillHeld);
  }
  const std::filesystem::path log = std::filesystem::path(made) / "files" / "brelrapi.txt";
  if (std::filesystem::exists(log)) outcome.log = ReadFile(log);
  return outcome;
}

// The agent leaves a line, or the application that asks for lines, open on two of its ways, and a listing or file that
// nobody closed; nothing else may be held.
bool LeavesMore(const Outcome& outcome) {
  std::string rest = outcome.heard.error;
  for (const char* kind : {"line ", "file "}) rest = Replace(rest, std::string(kStillHeld) + kind, {});
  return rest.find(kStillHeld) != std::string::npos;
}

// What kind of conversation it was, for the count at the end.
struct Seen {
  int conversations = 0;
  int different = 0;
  int withReplies = 0;
  int withItems = 0;  // documents of contacts or appointments
  int withBoxes = 0;
  int withFiles = 0;  // documents of folders or files
  int notConstructed = 0;
};

void HoldSeed(unsigned seed, const Commands& commands, Seen& seen) {
  Random random(seed);
  const json phone = OddPhone(random);
  const std::string speech = OddSpeech(random);
  const Outcome left = Hold(commands.left, commands, phone, speech);
  const Outcome right = Hold(commands.right, commands, phone, speech);
  ++seen.conversations;
  seen.withReplies += left.heard.out.empty() ? 0 : 1;
  const auto says = [&](const char* root) { return left.heard.out.find(root) != std::string::npos; };
  seen.withFiles += says("<folder>") || says("<fileinfo>") ? 1 : 0;
  seen.withItems += says("<contactentry>") || says("<agendaentry>") ? 1 : 0;
  seen.withBoxes += left.heard.error.empty() ? 0 : 1;
  seen.notConstructed += left.heard.exitCode == 1 ? 1 : 0;
  if (left == right && !LeavesMore(left) && left.heard.exitCode <= 1) return;
  ++seen.different;
  fmt::print("seed {}: the two differ, or something is held that should not be\n", seed);
  for (const Outcome& outcome : {left, right}) {
    fmt::print("  exit {}, {} bytes: {}\n  {}\n  log {}\n", outcome.heard.exitCode, outcome.heard.out.size(),
               ToHex(Bytes(outcome.heard.out.begin(), outcome.heard.out.end())).substr(0, 600), outcome.heard.error,
               outcome.log);
  }
}

}  // namespace
}  // namespace test

int main(int argc, char** argv) {
  CLI::App app("Holds random conversations with two builds of the agent.", "random_conversations");
  test::Commands commands;
  unsigned first = 1;
  unsigned count = 1;
  app.add_option("--phone-tool", commands.phoneTool, "The brelix-phone that makes the phones")->required();
  app.add_option("--left", commands.left, "Serves {phone} over standard input and output")->required();
  app.add_option("--right", commands.right, "The same, by the other build")->required();
  app.add_option("--first", first, "The first seed");
  app.add_option("--count", count, "How many seeds");
  CLI11_PARSE(app, argc, argv);
  fmt::print("seeds {} to {}\n", first, first + count - 1);
  test::Seen seen;
  try {
    for (unsigned seed = first; seed < first + count; ++seed) test::HoldSeed(seed, commands, seen);
  } catch (const std::exception& error) {
    fmt::print("{}\n", error.what());
    return 1;
  }
  fmt::print(
      "{} conversations, {} with replies, {} with items, {} with files, {} with boxes, {} ended by an error, {} "
      "different\n",
      seen.conversations, seen.withReplies, seen.withItems, seen.withFiles, seen.withBoxes, seen.notConstructed,
      seen.different);
  return seen.different == 0 ? 0 : 1;
}
