#include "desktop/calls/CallLog.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <utility>

#include "desktop/Elements.h"
#include "desktop/Stream.h"
#include "desktop/Text.h"
#include "desktop/Wire.h"

namespace brelix {
namespace {

constexpr std::array<ElementRule, 3> kTexts = {{{"number", 0}, {"phonetype", 1}, {"name", 2}}};
constexpr std::array<std::string_view, 3> kProgress = {"connected", "ended", "roaming"};
constexpr std::array<std::string_view, 3> kCallerIds = {"unavailable", "blocked", "available"};

[[noreturn]] void Broken(std::string_view element) {
  throw Failure(Exit::kProtocol, fmt::format("the phone's call entry is broken: no whole <{}>", element));
}

// Takes `<name...>text</name>` off the front, blanks before it included; what stands between "<name" and the closing
// tag. Stale bytes inside are shorter than a closing tag, so the first one is the right one.
std::string_view Take(std::string_view& body, std::string_view name) {
  const std::string open = fmt::format("<{}", name);
  const std::string close = fmt::format("</{}>", name);
  body.remove_prefix(std::min(body.find_first_not_of(" \n"), body.size()));
  const size_t end = body.find(close);
  if (!body.starts_with(open) || end == body.npos) Broken(name);
  const std::string_view inside = body.substr(open.size(), end - open.size());
  body.remove_prefix(end + close.size());
  return inside;
}

std::optional<std::string_view> Unwrap(std::string_view text, std::string_view before, std::string_view behind) {
  if (text.size() < before.size() + behind.size() || !text.starts_with(before) || !text.ends_with(behind))
    return std::nullopt;
  return text.substr(before.size(), text.size() - before.size() - behind.size());
}

template <size_t N>
std::optional<std::string> OneOf(const std::array<std::string_view, N>& words, std::optional<std::string_view> word) {
  if (!word || std::find(words.begin(), words.end(), *word) == words.end()) return std::nullopt;
  return std::string(*word);
}

std::optional<LocalTime> TakeTime(std::string_view& body, std::string_view name) {
  const std::string_view inside = Take(body, name);
  return ParseTimestamp(inside.substr(std::min<size_t>(1, inside.size())));
}

void TakeDirection(std::string_view& body, Call& call) {
  const std::string_view inside = Take(body, "calltype");
  if (inside == ">missed" || inside == ">incoming" || inside == ">outgoing") {
    call.direction = inside.substr(1);
  } else if (const auto progress = Unwrap(inside, " kind=\"", ">outgoing")) {
    call.direction = "outgoing";
    call.progress = OneOf(kProgress, Unwrap(*progress, "", "\""));
  }
}

std::optional<int64_t> Seconds(const std::optional<LocalTime>& time) {
  using namespace std::chrono;
  if (!time) return std::nullopt;
  const year_month_day day{year(time->year), month(time->month), std::chrono::day(time->day)};
  if (!day.ok()) return std::nullopt;
  const auto whole = sys_days(day) + hours(time->hour) + minutes(time->minute) + seconds(time->second.value_or(0));
  return whole.time_since_epoch().count();
}

}  // namespace

std::optional<int64_t> Call::DurationSeconds() const {
  const auto from = Seconds(start), to = Seconds(end);
  if (!from || !to || *to < *from) return std::nullopt;
  return *to - *from;
}

Call ReadCall(std::string_view document) {
  std::string_view body = InsideRoot(document, "logentry");
  Call call;
  call.start = TakeTime(body, "startcall");
  call.end = TakeTime(body, "endcall");
  TakeDirection(body, call);
  call.caller_id = OneOf(kCallerIds, Unwrap(Take(body, "calleridtype"), ">", ""));
  if (body.starts_with('\n')) body.remove_prefix(1);

  const Reading reading = ReadElements(body, kTexts);
  call.ambiguous = reading.ambiguous;
  for (const ElementText& element : reading.elements) {
    if (element.text.empty()) continue;
    (element.name == "number" ? call.number
     : element.name == "name" ? call.name
                              : call.phone_type) = CleanUtf8(element.text);
  }
  return call;
}

uint32_t CallLog::Rewind() {
  const Bytes data = session_.Answer(wire::kCallLog, wire::kCountCalls);
  if (data.size() < 2)
    throw Failure(Exit::kProtocol, fmt::format("{}: the answer to counting calls has {} bytes instead of 6",
                                               session_.address(), data.size() + 4));
  return Read16(data, 0);
}

namespace {

// Entries are asked for ahead. One that cannot be read does not move the phone's cursor, so that all that were asked
// for behind it fail as well; then the cursor is moved on and asking goes on.
class CallReader {
 public:
  CallReader(Session& session, uint32_t count, const ItemWalk<Call>& walk)
      : stream_(session), total_(count), walk_(walk) {}

  uint64_t Run() {
    while (!ended_) {
      while (!ended_ && !failure_ && (under_way_ == 0 || number_ + under_way_ <= total_)) Read();
      stream_.Finish();
      if (failure_) PassOver();
    }
    return misses_.count();
  }

 private:
  void Read() {
    under_way_++;
    stream_.Ask(wire::kCallLog, wire::kReadCall, {}, [this](const Result& read) {
      under_way_--;
      if (ended_) return;
      if (read.code == 0) return Take(read.data);
      if (read.code == wire::kRefusedResult)
        ended_ = true;
      else if (!failure_)
        failure_ = Failure(Exit::kPhoneError, PhoneErrorText(read.code));
    });
  }

  void Step() {
    if (++number_ > total_) total_ += wire::kCountWraps;
    walk_.step(total_);
  }

  void Take(const Bytes& document) {
    failure_.reset();  // the phone could read it after all
    Step();
    try {
      ended_ = !walk_.visit({number_, ReadCall(DocumentText(document)), DocumentText(document)});
      misses_.Read(DocumentText(document));
    } catch (const Failure& failure) {
      misses_.Miss(number_, failure, walk_.miss);
    }
  }

  void PassOver() {
    const Failure failure = *std::exchange(failure_, std::nullopt);
    Step();
    misses_.Miss(number_, failure, walk_.miss);
    stream_.Ask(wire::kCallLog, wire::kNextCall, {}, [this](const Result& moved) { ended_ = moved.code != 0; });
  }

  Stream stream_;
  uint64_t total_;
  const ItemWalk<Call>& walk_;
  Misses misses_{"call"};
  uint64_t number_ = 0;     // of the last entry that was told of
  uint64_t under_way_ = 0;  // entries asked for and not answered
  std::optional<Failure> failure_;
  bool ended_ = false;
};

}  // namespace

uint64_t WalkCalls(CallLog& log, const ItemWalk<Call>& walk) {
  const uint32_t count = log.Rewind();
  if (count == 0) return 0;  // reading would be the phone's error
  return CallReader(log.session_, count, walk).Run();
}

}  // namespace brelix
