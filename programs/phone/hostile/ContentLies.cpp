// Lies about what a phone has: counts, names, sizes, documents, and lists that do not end.
#include <algorithm>
#include <fmt/format.h>
#include <optional>

#include "programs/phone/hostile/Liar.h"

namespace brelix_phone::hostile {
namespace {

enum Module : std::uint16_t { kSystem = 1, kContacts = 3, kAgenda = 4, kCalls = 5, kMessages = 6 };

constexpr std::uint32_t kNoMoreFiles = 18;
constexpr std::size_t kLongest = 70000;    // of a name; more than a 16-bit length holds
constexpr std::size_t kMoreOfAFile = 256;  // pieces of a file that goes on behind its end

bool Done(const Reply& reply) { return reply.data.size() >= 4 && reply.Result() == 0; }

bool IsItem(const Reply& reply, const Memory&) {
  return Done(reply) &&
         (reply.Is(kContacts, 9) || reply.Is(kAgenda, 9) || reply.Is(kCalls, 41) || reply.Is(kMessages, 15));
}

bool HasOid(const Reply& reply, const Memory&) {
  return Done(reply) && (reply.Is(kContacts, 9) || reply.Is(kAgenda, 9));
}

bool IsCount(const Reply& reply, const Memory&) {
  return Done(reply) &&
         (reply.Is(kContacts, 5) || reply.Is(kAgenda, 5) || reply.Is(kCalls, 1) || reply.Is(kMessages, 13));
}

bool IsListing(const Reply& reply, const Memory&) {
  return reply.Is(kSystem, 53) && (reply.Result() == 0 || reply.Result() == kNoMoreFiles);
}

bool IsFileInfo(const Reply& reply, const Memory&) { return reply.Is(kSystem, 93) && Done(reply); }
bool IsFolderOrInfo(const Reply& reply, const Memory& memory) {
  return IsListing(reply, memory) || IsFileInfo(reply, memory);
}
bool IsPieceOfFile(const Reply& reply, const Memory&) { return reply.Is(kSystem, 59) && Done(reply); }
bool IsKeys(const Reply& reply, const Memory&) { return reply.Is(kSystem, 103) && Done(reply); }
bool IsValues(const Reply& reply, const Memory&) { return reply.Is(kSystem, 105) && Done(reply); }
bool IsValue(const Reply& reply, const Memory&) { return reply.Is(kSystem, 107) && Done(reply); }
bool IsNames(const Reply& reply, const Memory&) {
  return Done(reply) && (reply.Is(kMessages, 9) || reply.Is(kMessages, 11));
}
bool IsDocument(const Reply& reply, const Memory& memory) {
  return IsItem(reply, memory) || IsFolderOrInfo(reply, memory) || IsNames(reply, memory) ||
         (Done(reply) && (reply.Is(kSystem, 15) || reply.Is(kSystem, 17)));
}
bool IsClock(const Reply& reply, const Memory&) { return reply.Is(kSystem, 1) && Done(reply); }
bool EndsAList(const Reply& reply, const Memory& memory) {
  return !memory.document.empty() && (reply.Is(kCalls, 41) || reply.Is(kMessages, 15)) && !Done(reply);
}

// Names that must not become paths, or names at all.
std::string EvilName(Telling& telling) {
  using namespace std::string_literals;
  Random& random = telling.random;
  static const std::string kNames[] = {"../../outside",
                                       "..\\..\\outside",
                                       "/tmp/brelix-outside",
                                       "\\Windows\\outside",
                                       "..",
                                       ".",
                                       "",
                                       "a/b",
                                       "C:\\outside",
                                       "nul\0outside"s,
                                       "\x1b[2J\x1b]0;owned\7",
                                       "line\r\nfeed\ttab",
                                       "%s%n%x",
                                       "*?<>|\":",
                                       "-rf",
                                       "</name><attr>D</attr>",
                                       "\xED\xA0\x80",
                                       "\xFF\xFE\x80",
                                       "XXXX",
                                       "ZZZZ",
                                       "manifest.json",
                                       "phone.db",
                                       ".brelix-part-0123456789abcdef"};
  if (random.OneIn(6)) return std::string(random.Below(kLongest), 'n');
  if (random.OneIn(6)) return fmt::format("invented {}", ++telling.memory.invented);
  return random.OneOf(kNames);
}

// Where an element of this name has its text: a pair of positions; nothing without one. Of several it is any.
struct Place {
  std::size_t from = 0, size = 0;
};

std::optional<Place> AnyElement(Telling& telling, const std::string& name) {
  const std::string open = "<" + name + ">", close = "</" + name + ">";
  std::vector<Place> places;
  const std::string& data = telling.reply.data;
  for (std::size_t at = data.find(open); at != data.npos && places.size() < 10000; at = data.find(open, at + 1)) {
    const std::size_t end = data.find(close, at);
    if (end == data.npos) break;
    places.push_back({at + open.size(), end - at - open.size()});
  }
  if (places.empty()) return std::nullopt;
  return telling.random.OneOf(places);
}

void SetElement(Telling& telling, const std::string& name, const std::string& text) {
  if (const auto place = AnyElement(telling, name)) telling.reply.data.replace(place->from, place->size, text);
}

void Count(Telling& telling) {
  Random& random = telling.random;
  std::string& data = telling.reply.data;
  const int width = static_cast<int>(data.size() - 4);
  const std::uint32_t honest = Number(std::string_view(data).substr(4));
  const std::uint32_t counts[] = {0,          honest + 1,   honest - 1,
                                  honest / 2, honest + 300, 0xFFFFFFFF,
                                  0x7FFFFFFF, 65535,        static_cast<std::uint32_t>(random.Below(2000))};
  data.replace(4, data.npos, Bytes(random.OneOf(counts), width));
}

void Oid(Telling& telling) {
  constexpr const char* kOids[] = {"0", "1", "2", "4294967295", "4294967296", "-1", "", "x"};
  SetElement(telling, "oid", telling.random.OneOf(kOids));
}

void NameOfFile(Telling& telling) { SetElement(telling, "name", EvilName(telling)); }

void SizeOfFile(Telling& telling) {
  constexpr const char* kSizes[] = {"0",   "4294967295", "4294967296", "-1", "-2147483648", "99999999999999999999999",
                                    "1e9", "",           "16364",      "1"};
  SetElement(telling, "size", telling.random.OneOf(kSizes));
}

void AttributesOfFile(Telling& telling) {
  constexpr const char* kAttributes[] = {"D", "", "DAHSR", "A", "DDDDDD", "?", "R"};
  SetElement(telling, "attr", telling.random.OneOf(kAttributes));
}

void TimeOfSomething(Telling& telling) {
  constexpr const char* kElements[] = {"modified", "time",     "starttime",   "endtime",   "startcall",
                                       "endcall",  "Birthday", "Anniversary", "phonetime", "patternstartdate"};
  constexpr const char* kTimes[] = {"00000000T000000Z", "99999999T999999Z", "20090230T250000Z", "",
                                    "16010101T000000Z", "99991231T235959Z", "-0010101T000000Z"};
  for (const char* element : kElements) SetElement(telling, element, telling.random.OneOf(kTimes));
}

constexpr std::string_view kEntry = "    <name>";

// The entries of a listing stand between these; nothing in a document without entries.
std::optional<Place> AnyEntry(Telling& telling) {
  const std::string& data = telling.reply.data;
  std::vector<std::size_t> begins;
  for (std::size_t at = data.find(kEntry); at != data.npos; at = data.find(kEntry, at + 1)) begins.push_back(at);
  if (begins.empty()) return std::nullopt;
  const std::size_t chosen = telling.random.Below(begins.size());
  const std::size_t close = data.find("  </content>", begins[chosen]);
  const std::size_t end = chosen + 1 < begins.size() ? begins[chosen + 1] : std::min(close, data.size());
  return Place{begins[chosen], end - begins[chosen]};
}

void EntryVanishes(Telling& telling) {
  if (const auto entry = AnyEntry(telling)) telling.reply.data.erase(entry->from, entry->size);
}

void EntryRepeated(Telling& telling) {
  const auto entry = AnyEntry(telling);
  if (!entry) return;
  const std::string text = telling.reply.data.substr(entry->from, entry->size);
  for (std::size_t times = 1 + telling.random.Below(3); times > 0; --times)
    telling.reply.data.insert(entry->from, text);
}

// Things that are not there: files that cannot be opened, folders that hold the folder above them.
void EntriesInvented(Telling& telling) {
  const auto entry = AnyEntry(telling);
  const std::size_t at = entry ? entry->from : telling.reply.data.find("  </content>");
  if (at == std::string::npos) return;
  std::string more;
  for (std::size_t left = 1 + telling.random.Below(telling.random.OneIn(4) ? 5000 : 4); left > 0; --left)
    more +=
        fmt::format("    <name>invented {}</name>\n    <modified>20090712T134501Z</modified>\n    <attr>{}</attr>\n{}",
                    ++telling.memory.invented, telling.random.OneIn(8) ? "D" : "A", "    <size>20000</size>\n");
  telling.reply.data.insert(at, more);
}

// A folder, or a file, that there is more and more of.
void ListingGoesOn(Telling& telling) {
  telling.reply.SetResult(0);
  EntriesInvented(telling);
}

// From its end on, whether this piece is it or a later one.
void FileGoesOn(Telling& telling) { telling.memory.moreOfFile = 1 + telling.random.Below(kMoreOfAFile); }

void PieceTooShort(Telling& telling) {
  std::string& data = telling.reply.data;
  data.resize(4 + telling.random.Below(data.size() - 3));
}

void PieceOfOtherBytes(Telling& telling) {
  telling.reply.data.replace(4, std::string::npos, telling.random.Noise(telling.random.Below(40000)));
}

void KeyInvented(Telling& telling) {
  constexpr std::size_t kMost = 300;
  for (std::size_t left = 1 + telling.random.Below(telling.random.OneIn(8) ? kMost : 2); left > 0; --left)
    telling.reply.data += EvilName(telling) + '\0';
}

void ValueInvented(Telling& telling) {
  telling.reply.data += Bytes(static_cast<std::uint32_t>(telling.random.Below(20)), 4) + EvilName(telling) + '\0';
}

void ValueOfOtherType(Telling& telling) {
  std::string& data = telling.reply.data;
  if (data.size() < 8) return;
  data.replace(4, 4,
               Bytes(telling.random.OneIn(3) ? 0xFFFFFFFF : static_cast<std::uint32_t>(telling.random.Below(12)), 4));
}

void ValueTooLong(Telling& telling) { telling.reply.data += telling.random.Noise(telling.random.Below(800000)); }

void NameInvented(Telling& telling) {
  std::string& data = telling.reply.data;
  const std::size_t end = data.rfind("</");
  if (end == data.npos) return;
  std::string more;
  for (std::size_t left = 1 + telling.random.Below(4); left > 0; --left)
    more += "  <name>" + EvilName(telling) + "</name>\n";
  data.insert(end, more);
}

void TextSomewhere(Telling& telling) {
  std::string& data = telling.reply.data;
  const std::size_t close = data.find("</", 4 + telling.random.Below(data.size() - 3));
  if (close != data.npos) data.insert(close, EvilName(telling));
}

void ElementsMixed(Telling& telling) {
  std::string& data = telling.reply.data;
  const std::size_t half = 4 + telling.random.Below(data.size() - 3);
  data = data.substr(0, 4) + data.substr(half) + data.substr(4, half - 4);
}

void Clock(Telling& telling) { telling.reply.data.replace(4, std::string::npos, telling.random.Noise(8)); }

void GoesOn(Telling& telling) { telling.reply.data = telling.memory.document; }

void NeverEnds(Telling& telling) {
  telling.memory.endless = true;
  GoesOn(telling);
}

// One row a line.
// clang-format off
constexpr Lie kContentLies[] = {
    {"a wrong count", 30, IsCount, Count},
    {"another object id", 4, HasOid, Oid},
    {"a text somewhere", 6, IsDocument, TextSomewhere},
    {"elements in another order", 2, IsDocument, ElementsMixed},
    {"an impossible time", 4, IsDocument, TimeOfSomething},
    {"an entry that is no name", 15, IsFolderOrInfo, NameOfFile},
    {"an impossible size", 10, IsFolderOrInfo, SizeOfFile},
    {"other attributes", 6, IsFolderOrInfo, AttributesOfFile},
    {"an entry that vanished", 6, IsListing, EntryVanishes},
    {"an entry once more", 6, IsListing, EntryRepeated},
    {"entries of nothing", 6, IsListing, EntriesInvented},
    {"a listing that goes on", 10, IsListing, ListingGoesOn},
    {"a file that goes on", 10, IsPieceOfFile, FileGoesOn},
    {"a piece too short", 6, IsPieceOfFile, PieceTooShort},
    {"a piece of other bytes", 4, IsPieceOfFile, PieceOfOtherBytes},
    {"a key of nothing", 6, IsKeys, KeyInvented},
    {"a value of nothing", 4, IsValues, ValueInvented},
    {"a value of another type", 6, IsValue, ValueOfOtherType},
    {"a value too long", 2, IsValue, ValueTooLong},
    {"a name of nothing", 15, IsNames, NameInvented},
    {"an impossible clock", 10, IsClock, Clock},
    {"a list that goes on", 20, EndsAList, GoesOn},
    {"lists that never end", 10, EndsAList, NeverEnds},
};
// clang-format on

}  // namespace

std::span<const Lie> ContentLies() { return kContentLies; }

}  // namespace brelix_phone::hostile
