#include "handset/store/Description.h"

#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>

#include "handset/Errors.h"
#include "handset/store/CallDescription.h"
#include "handset/store/FilesDescription.h"
#include "handset/store/JsonFields.h"
#include "handset/store/MailDescription.h"
#include "handset/store/NearMatch.h"
#include "handset/store/PimDescription.h"
#include "handset/store/RadioDescription.h"
#include "handset/store/RegistryDescription.h"
#include "handset/store/SmsDescription.h"
#include "handset/store/TimeText.h"

namespace handset {

namespace {

using nlohmann::json;

struct LineText {
  const char* name;
  std::optional<std::u16string> Line::*text;
};
constexpr std::array<LineText, 5> kLineTexts = {{{"manufacturer", &Line::manufacturer},
                                                 {"model", &Line::model},
                                                 {"revision", &Line::revision},
                                                 {"serialNumber", &Line::serialNumber},
                                                 {"subscriberNumber", &Line::subscriberNumber}}};

struct AnswerName {
  std::string_view name;
  ce::INT answer;
};
constexpr std::array<AnswerName, 3> kAnswers = {{{"yes", ce::IDYES}, {"no", ce::IDNO}, {"ok", ce::IDOK}}};

Line ParseLine(const JsonNode& node) {
  node.NeedObject({"name", "manufacturer", "model", "revision", "serialNumber", "subscriberNumber", "radioOff",
                   "operationUnavailable"});
  Line line;
  line.name = node.Need("name").Text();
  for (const LineText& row : kLineTexts) {
    const auto text = node.Find(row.name);
    if (!text) continue;
    if (text->GetJson().is_null()) {
      (line.*row.text).reset();
    } else {
      line.*row.text = text->Text();
    }
  }
  ReadBool(node, "radioOff", line.radioOff);
  ReadBool(node, "operationUnavailable", line.operationUnavailable);
  return line;
}

json PrintLine(const Line& line) {
  json out = {{"name", TextToJson(line.name)},
              {"radioOff", line.radioOff},
              {"operationUnavailable", line.operationUnavailable}};
  for (const LineText& row : kLineTexts) {
    const auto& text = line.*row.text;
    out[row.name] = text ? TextToJson(*text) : json(nullptr);
  }
  return out;
}

Os ParseOs(const JsonNode& node) {
  node.NeedObject({"major", "minor", "build", "platform", "queryFails"});
  Os os;
  ReadNumber(node, "major", os.major);
  ReadNumber(node, "minor", os.minor);
  ReadNumber(node, "build", os.build);
  ReadNumber(node, "platform", os.platform);
  ReadBool(node, "queryFails", os.queryFails);
  return os;
}

Memory ParseMemory(const JsonNode& node) {
  node.NeedObject({"load", "totalPhysical", "availablePhysical"});
  Memory memory;
  ReadNumber(node, "load", memory.load);
  ReadNumber(node, "totalPhysical", memory.totalPhysical);
  ReadNumber(node, "availablePhysical", memory.availablePhysical);
  return memory;
}

Power ParsePower(const JsonNode& node) {
  node.NeedObject({"acLine", "batteryFlag", "batteryPercent", "queryFails"});
  Power power;
  ReadNumber(node, "acLine", power.acLine);
  ReadNumber(node, "batteryFlag", power.batteryFlag);
  ReadNumber(node, "batteryPercent", power.batteryPercent);
  ReadBool(node, "queryFails", power.queryFails);
  return power;
}

ClockSetting ParseClock(const JsonNode& node) {
  constexpr int kMostMinutes = 14 * 60;
  node.NeedObject({"localTime", "utcOffsetMinutes"});
  ClockSetting clock;
  if (const auto time = node.Find("localTime")) {
    clock.localTime = ParseTime(time->String());
    if (!clock.localTime) time->Misfit("a time such as \"2009-07-12T13:45:01.250\"");
  }
  if (const auto offset = node.Find("utcOffsetMinutes")) {
    clock.utcOffset = std::chrono::minutes(offset->Integer(-kMostMinutes, kMostMinutes));
  }
  return clock;
}

json PrintClock(const ClockSetting& clock) {
  json out = json::object();
  if (clock.localTime) out["localTime"] = PrintTime(*clock.localTime);
  if (clock.utcOffset) out["utcOffsetMinutes"] = clock.utcOffset->count();
  return out;
}

BoxAnswer ParseAnswer(const JsonNode& node) {
  node.NeedObject({"caption", "contains", "answer"});
  BoxAnswer box;
  if (const auto caption = node.Find("caption")) box.caption = caption->Text();
  if (const auto contains = node.Find("contains")) box.contains = contains->Text();
  const JsonNode answer = node.Need("answer");
  const std::string wanted = answer.String();
  for (const AnswerName& known : kAnswers) {
    if (known.name != wanted) continue;
    box.answer = known.answer;
    return box;
  }
  answer.Misfit("\"yes\", \"no\" or \"ok\"");
}

json PrintAnswer(const BoxAnswer& box) {
  json out = json::object();
  if (box.caption) out["caption"] = TextToJson(*box.caption);
  if (box.contains) out["contains"] = TextToJson(*box.contains);
  for (const AnswerName& known : kAnswers) {
    if (known.answer == box.answer) out["answer"] = known.name;
  }
  return out;
}

FaultRule ParseFault(const JsonNode& node) {
  node.NeedObject({"call", "result", "skip", "times"});
  FaultRule rule;
  rule.call = node.Need("call").String();
  if (const auto result = node.Find("result")) rule.result = result->Code();
  ReadNumber(node, "skip", rule.skip);
  if (const auto times = node.Find("times")) {
    const bool always = times->GetJson() == "always";
    rule.times = always ? FaultRule::kAlways : static_cast<std::uint32_t>(times->Integer(1, FaultRule::kAlways - 1));
  }
  try {
    CallOf(rule);
  } catch (const FaultError& error) {
    node.Misfit("a fault the phone can have", error.what());
  }
  return rule;
}

json PrintFault(const FaultRule& rule) {
  json out = {{"call", rule.call}, {"skip", rule.skip}};
  if (rule.result) out["result"] = fmt::format("0x{:08X}", *rule.result);
  out["times"] = rule.times == FaultRule::kAlways ? json("always") : json(rule.times);
  return out;
}

}  // namespace

Description ParseDescription(const json& source) {
  const JsonNode node(source);
  node.NeedObject({"$schema", "lines", "os", "memory", "power", "clock", "registry", "contacts", "appointments",
                   "messageBoxes", "faults", "calls", "accounts", "sms", "outbox", "bluetooth", "files"});
  Description description;
  if (const auto schema = node.Find("$schema")) schema->String();
  ReadList(node, "lines", description.lines, ParseLine);
  if (const auto os = node.Find("os")) description.os = ParseOs(*os);
  if (const auto memory = node.Find("memory")) description.memory = ParseMemory(*memory);
  if (const auto power = node.Find("power")) description.power = ParsePower(*power);
  if (const auto clock = node.Find("clock")) description.clock = ParseClock(*clock);
  if (const auto registry = node.Find("registry")) description.registry = ParseRegistry(*registry);
  ParseItems(node, description.contacts, description.appointments);
  ReadList(node, "messageBoxes", description.messageBoxes, ParseAnswer);
  ReadList(node, "faults", description.faults, ParseFault);
  ReadList(node, "calls", description.calls, ParseCall);
  if (const auto accounts = node.Find("accounts")) description.accounts = ParseAccounts(*accounts);
  if (const auto sms = node.Find("sms")) description.sms = ParseSms(*sms);
  if (const auto outbox = node.Find("outbox")) description.outbox = ParseOutbox(*outbox);
  if (const auto bluetooth = node.Find("bluetooth")) description.bluetooth = ParseBluetooth(*bluetooth);
  if (const auto files = node.Find("files")) description.files = ParseFiles(*files);
  return description;
}

json PrintDescription(const Description& description) {
  const Os& os = description.os;
  const Memory& memory = description.memory;
  const Power& power = description.power;
  return {{"lines", PrintList(description.lines, PrintLine)},
          {"os",
           {{"major", os.major},
            {"minor", os.minor},
            {"build", os.build},
            {"platform", os.platform},
            {"queryFails", os.queryFails}}},
          {"memory",
           {{"load", memory.load},
            {"totalPhysical", memory.totalPhysical},
            {"availablePhysical", memory.availablePhysical}}},
          {"power",
           {{"acLine", power.acLine},
            {"batteryFlag", power.batteryFlag},
            {"batteryPercent", power.batteryPercent},
            {"queryFails", power.queryFails}}},
          {"clock", PrintClock(description.clock)},
          {"registry", PrintRegistry(description.registry)},
          {"contacts", PrintList(description.contacts, PrintContact)},
          {"appointments", PrintList(description.appointments, PrintAppointment)},
          {"messageBoxes", PrintList(description.messageBoxes, PrintAnswer)},
          {"faults", PrintList(description.faults, PrintFault)},
          {"calls", PrintList(description.calls, PrintCall)},
          {"accounts", PrintAccounts(description.accounts)},
          {"sms", PrintSms(description.sms)},
          {"outbox", PrintList(description.outbox, PrintOutboxMessage)},
          {"bluetooth", PrintBluetooth(description.bluetooth)},
          {"files", PrintFiles(description.files)}};
}

namespace {

// The library keeps the last of two equal keys without a word; to a person the first would be lost. The check is a pass
// of its own: told of keys while it builds values, the library goes through a list again for each of its objects.
class NoKeyTwice final : public nlohmann::json_sax<json> {
 public:
  explicit NoKeyTwice(std::string file) : m_file(std::move(file)) {}

  bool start_object(std::size_t) override {
    m_keys.emplace_back();
    return true;
  }
  bool end_object() override {
    m_keys.pop_back();
    return true;
  }
  bool key(std::string& name) override {
    if (m_keys.back().insert(name).second) return true;
    throw DescriptionError({}, "each key once in an object", json(name).dump() + " twice", m_file);
  }

  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(std::int64_t) override { return true; }
  bool number_unsigned(std::uint64_t) override { return true; }
  bool number_float(double, const std::string&) override { return true; }
  bool string(std::string&) override { return true; }
  bool binary(json::binary_t&) override { return true; }
  bool start_array(std::size_t) override { return true; }
  bool end_array() override { return true; }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override { return false; }

 private:
  const std::string m_file;
  std::vector<std::set<std::string>> m_keys;
};

}  // namespace

json ReadDescriptionFile(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) throw DescriptionError({}, "a file that can be read", "none", file.string());
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  try {
    json description = json::parse(text);
    NoKeyTwice keys(file.string());
    json::sax_parse(text, &keys);
    return description;
  } catch (const json::parse_error& error) {
    // The library's text gives line and column; its own number in front says nothing to a person.
    const std::string_view why = error.what();
    throw DescriptionError({}, "JSON", std::string(why.substr(why.find("] ") + 2)), file.string());
  }
}

}  // namespace handset
