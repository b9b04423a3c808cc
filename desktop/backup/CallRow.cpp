#include "desktop/backup/CallRow.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>

#include "desktop/Failure.h"
#include "desktop/Text.h"
#include "desktop/backup/RowValues.h"

namespace brelix::backup {
namespace {

constexpr std::array<ElementRule, 3> kTexts = {{{"number", 0}, {"phonetype", 1}, {"name", 2}}};
constexpr std::array<std::string_view, 3> kCallerIds = {"unavailable", "blocked", "available"};
constexpr uint32_t kOutgoing = 2;
constexpr uint32_t kNoWord = 3;  // of directions and of caller ids

struct FlagWord {
  std::string_view word;
  uint32_t flag;
};
constexpr std::array<FlagWord, 3> kFlags = {{{"connected\"", 2}, {"ended\"", 4}, {"roaming\"", 8}}};

// The front of the document, line by line.
class Lines {
 public:
  Lines(std::string_view rest, Losses& losses) : rest_(rest), losses_(losses) {}

  // What stands between `before` and `behind`, which must come in this order right here.
  std::string_view Take(std::string_view before, std::string_view behind) {
    const size_t end = rest_.starts_with(before) ? rest_.find(behind, before.size()) : rest_.npos;
    if (end == rest_.npos)
      throw Failure(Exit::kProtocol,
                    fmt::format("the phone's call entry is broken: no whole \"{}\"", Printable(CleanUtf8(before))));
    const std::string_view inside = rest_.substr(before.size(), end - before.size());
    rest_.remove_prefix(end + behind.size());
    return inside;
  }

  // Where a value has no word, as many bytes are left over from earlier answers, the first of them zero.
  void NeedSkipped(std::string_view what, std::string_view inside, size_t size) {
    if (inside.size() != size)
      losses_.push_back({std::string(what), fmt::format("is \"{}\", which is none of the words for it",
                                                        Printable(CleanUtf8(inside.substr(0, 40))))});
  }

  std::string_view rest() const { return rest_; }

 private:
  std::string_view rest_;
  Losses& losses_;
};

// The number of the word that stands right behind the tag; the words' number when it is none.
template <size_t N>
uint32_t IndexOf(const std::array<std::string_view, N>& words, std::string_view word) {
  return static_cast<uint32_t>(std::find(words.begin(), words.end(), word) - words.begin());
}

void TakeDirection(Lines& lines, handset::CallEntry& call) {
  constexpr std::string_view kOpening = "  <calltype";
  constexpr std::string_view kKind = " kind=\"";
  constexpr std::string_view kBehind = ">outgoing";
  std::string_view inside = lines.Take(kOpening, "</calltype>\n");
  call.direction = IndexOf(std::array<std::string_view, 2>{">missed", ">incoming"}, inside);
  if (call.direction < kOutgoing) return;
  if (!inside.starts_with(kKind) || !inside.ends_with(kBehind)) {
    lines.NeedSkipped("calltype", inside, kOpening.size());
    call.direction = kNoWord;
    return;
  }
  inside = inside.substr(kKind.size(), inside.size() - kKind.size() - kBehind.size());
  const auto flag = std::find_if(kFlags.begin(), kFlags.end(), [&](const FlagWord& row) { return row.word == inside; });
  if (flag != kFlags.end())
    call.flags = flag->flag;
  else
    lines.NeedSkipped("calltype", inside, kKind.size());
}

void TakeCallerId(Lines& lines, handset::CallEntry& call) {
  constexpr std::string_view kOpening = "<calleridtype>";
  const std::string_view inside = lines.Take(kOpening, "</calleridtype>\n");
  call.callerId = IndexOf(kCallerIds, inside);
  if (call.callerId == kNoWord) lines.NeedSkipped("calleridtype", inside, kOpening.size());
}

}  // namespace

handset::CallEntry CallRow(std::string_view document, std::chrono::minutes utc_offset, Losses& losses) {
  Lines lines(InsideRoot(document, "logentry"), losses);
  handset::CallEntry call;
  call.start = FileTimeOf(lines.Take("  <startcall>", "</startcall>\n"), utc_offset, "startcall", losses);
  call.end = FileTimeOf(lines.Take("  <endcall>", "</endcall>\n"), utc_offset, "endcall", losses);
  TakeDirection(lines, call);
  TakeCallerId(lines, call);
  for (const ElementText& element : ReadElements(lines.rest(), kTexts).elements)
    (element.name == "number" ? call.number
     : element.name == "name" ? call.name
                              : call.phoneType) = TextOf(element.text, element.name, losses);
  return call;
}

}  // namespace brelix::backup
