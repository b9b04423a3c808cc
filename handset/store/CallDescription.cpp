#include "handset/store/CallDescription.h"

#include <span>

#include "handset/store/FileTimeText.h"
#include "handset/store/JsonFields.h"
#include "handset/store/NearMatch.h"

namespace handset {

namespace {

using nlohmann::json;

// The names of the phone's numbers; any other number may be given as it is.
struct NumberName {
  std::string_view name;
  std::uint32_t number;
};
constexpr std::array<NumberName, 3> kDirections = {{{"missed", 0}, {"incoming", 1}, {"outgoing", 2}}};
constexpr std::array<NumberName, 3> kCallerIds = {{{"unavailable", 0}, {"blocked", 1}, {"available", 2}}};
constexpr std::array<NumberName, 4> kFlags = {{{"outgoing", 1}, {"connected", 2}, {"ended", 4}, {"roaming", 8}}};

std::uint32_t ParseNamed(const JsonNode& node, std::span<const NumberName> names) {
  if (!node.GetJson().is_string()) return node.Number<std::uint32_t>();
  const std::string wanted = node.String();
  std::vector<std::string_view> known;
  std::string expected;
  for (const NumberName& row : names) {
    if (row.name == wanted) return row.number;
    known.push_back(row.name);
    expected += std::string(row.name) + ", ";
  }
  node.Misfit(expected + "or a number", "\"" + wanted + "\"" + NearMatches(wanted, known));
}

json PrintNamed(std::uint32_t number, std::span<const NumberName> names) {
  for (const NumberName& row : names) {
    if (row.number == number) return row.name;
  }
  return number;
}

std::uint32_t ParseFlags(const JsonNode& node) {
  if (node.GetJson().is_number()) return node.Number<std::uint32_t>();
  std::uint32_t flags = 0;
  node.ForEach([&](const JsonNode& flag) {
    flag.String();
    flags |= ParseNamed(flag, kFlags);
  });
  return flags;
}

json PrintFlags(std::uint32_t flags) {
  json list = json::array();
  for (const NumberName& row : kFlags) {
    if ((flags & row.number) != 0) list.push_back(row.name);
    flags &= ~row.number;
  }
  return flags == 0 ? list : json();
}

}  // namespace

CallEntry ParseCall(const JsonNode& node) {
  node.NeedObject({"start", "end", "direction", "flags", "callerId", "number", "name", "phoneType", "note"});
  CallEntry call;
  call.start = ParseFileTime(node.Need("start"));
  const auto end = node.Find("end");
  call.end = end ? ParseFileTime(*end) : call.start;
  if (const auto direction = node.Find("direction")) call.direction = ParseNamed(*direction, kDirections);
  if (const auto flags = node.Find("flags")) call.flags = ParseFlags(*flags);
  ReadText(node, "number", call.number);
  ReadText(node, "name", call.name);
  ReadText(node, "phoneType", call.phoneType);
  ReadText(node, "note", call.note);
  constexpr std::uint32_t kAvailable = 2;
  if (call.number) call.callerId = kAvailable;
  if (const auto callerId = node.Find("callerId")) call.callerId = ParseNamed(*callerId, kCallerIds);
  return call;
}

json PrintCall(const CallEntry& call) {
  const json flags = PrintFlags(call.flags);
  json out = {{"start", PrintFileTime(call.start)},
              {"end", PrintFileTime(call.end)},
              {"direction", PrintNamed(call.direction, kDirections)},
              {"flags", flags.is_null() ? json(call.flags) : flags},
              {"callerId", PrintNamed(call.callerId, kCallerIds)}};
  PrintText(out, "number", call.number);
  PrintText(out, "name", call.name);
  PrintText(out, "phoneType", call.phoneType);
  PrintText(out, "note", call.note);
  return out;
}

}  // namespace handset
