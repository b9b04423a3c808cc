#include "tests/wince/OddMessages.h"

#include "tests/wince/OddItems.h"

namespace test {
namespace {

using nlohmann::json;

// Names that are there more often than not.
const std::vector<std::string>& Names() {
  static const std::vector<std::string> names{"A",
                                              "A",
                                              "A",
                                              "a",
                                              "Gr\xC3\xBC\xC3\x9F"
                                              "e",
                                              "SMS",
                                              "Sent Items",
                                              ""};
  return names;
}

json OddTime(Random& random) {
  const std::uint64_t time = (std::uint64_t{random.Word()} << 32 | random.Word()) >> 1;
  return {{"fileTime", random.OneIn(6) ? time : 128000000000000000 + time % 4000000000000000}};
}

void AddText(Random& random, json& to, const char* member) {
  const json text = OddText(random);
  if (!text.is_null()) to[member] = text;
}

json OddCall(Random& random) {
  json call{{"start", OddTime(random)},
            {"end", OddTime(random)},
            {"direction", random.Below(4)},
            {"flags", random.Below(16)},
            {"callerId", random.Below(4)}};
  for (const char* text : {"number", "name", "phoneType", "note"}) {
    if (random.OneIn(2)) AddText(random, call, text);
  }
  return call;
}

// An address with what the agent's rule looks for, in any order.
std::string OddAddress(Random& random) {
  static const std::vector<std::string> pieces{"\"", "\"", "<", ">", "+15550101", "Ann", "\xC4\x80", " ", "(((", "&"};
  std::string address = random.OneIn(2) ? "\"" : "";
  for (unsigned i = random.Below(9); i > 0; --i) address += random.Of(pieces);
  return address;
}

json OddMessage(Random& random) {
  json message = json::object();
  if (random.OneIn(2)) {
    if (!random.OneIn(4)) AddText(random, message["sender"], "name");
    message["sender"]["address"] = OddAddress(random);
  }
  for (unsigned i = random.Below(4); i > 0; --i) {
    json recipient{{"addressFirst", random.OneIn(2)}};
    if (!random.OneIn(3)) AddText(random, recipient, "name");
    if (!random.OneIn(3)) recipient["address"] = OddAddress(random);
    message["recipients"].push_back(recipient);
  }
  AddText(random, message, "subject");
  if (!random.OneIn(4)) message["delivered"] = OddTime(random);
  if (random.OneIn(8)) message["hasEntryId"] = false;
  return message;
}

json OddFolder(Random& random) {
  json folder = json::object();
  if (!random.OneIn(6)) folder["name"] = random.Of(Names());
  for (unsigned i = random.Below(6); i > 0; --i) folder["messages"].push_back(OddMessage(random));
  if (random.OneIn(6)) folder["reportedCount"] = random.OneIn(2) ? json(nullptr) : json(random.Word());
  return folder;
}

}  // namespace

void AddOddMessages(Random& random, json& phone) {
  for (unsigned i = random.Below(5); i > 0; --i) phone["calls"].push_back(OddCall(random));
  for (unsigned i = random.Below(4); i > 0; --i) {
    json account = json::object();
    if (!random.OneIn(6)) account["name"] = random.Of(Names());
    for (unsigned folders = random.Below(4); folders > 0; --folders) account["folders"].push_back(OddFolder(random));
    phone["accounts"].push_back(account);
  }
  if (random.OneIn(3)) {
    phone["sms"]["delivery"] = {{{"to", "+1"}, {"refused", "0x82000108"}},
                                {{"steps", {{{"state", "sent"}}, {{"result", random.Word()}}}}}};
  }
}

Bytes OddMessageFrame(Random& random, std::uint16_t number) {
  static const std::vector<std::uint16_t> callCommands{1, 3, 5, 7, 9, 41, 41, 41};
  static const std::vector<std::uint16_t> storeCommands{3, 7, 9, 11, 13, 15, 15, 15, 15};
  const Bytes zero{0};
  switch (random.Below(7)) {
    case 0:
    case 1:
      return Frame(5, random.Of(callCommands), number);
    case 2:
    case 3:
      return Frame(6, random.OneIn(2) ? 1 : 5, number,
                   FromText(random.Of(Names())) + (random.OneIn(8) ? Bytes{} : zero));
    case 4:
      return Frame(6, 19, number, U32(random.Below(4)) + U32(random.Word()));
    case 5: {
      const Bytes to = FromText(random.Of(std::vector<std::string>{"+1", "+15550101", "", "\xE2"}));
      Bytes data = Bytes{static_cast<std::uint8_t>(random.Below(2))} + (random.OneIn(2) ? FromText("+2") : Bytes{}) +
                   zero + to + zero + FromText(OddAddress(random)) + zero;
      if (random.OneIn(4)) data.resize(random.Below(static_cast<unsigned>(data.size())));
      return Frame(6, 17, number, data);
    }
    default:
      return Frame(6, random.Of(storeCommands), number);
  }
}

}  // namespace test
