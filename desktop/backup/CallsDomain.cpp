// The phone's call history.
#include <array>
#include <ctime>
#include <fmt/format.h>

#include "desktop/backup/CallRow.h"
#include "desktop/backup/Domains.h"
#include "desktop/backup/ItemDomains.h"
#include "desktop/calls/CallLog.h"
#include "handset/store/CallDescription.h"
#include "handset/store/CallRows.h"
#include "handset/store/RowValues.h"
#include "handset/store/StoreRows.h"

namespace brelix::backup {
namespace {

using std::chrono::minutes;

constexpr std::array<std::string_view, 3> kNotCarried = {
    "notes of calls, parts of a second, and the flags of a call beside the one that is told of outgoing ones",
    "directions and caller ids for which the wire has no word, and calls beyond what the phone's log keeps",
    "texts that begin with a character whose number is a multiple of 256, and what follows a NUL in a text",
};

constexpr uint32_t kCountWraps = 65536;  // a phone tells the number of calls modulo this

minutes HostOffset() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return minutes(local.tm_gmtoff / 60);
}

// Local time minus UTC. A folder that does not say it goes by the computer's.
minutes OffsetOf(const PhoneFolder& folder) {
  return handset::SelectClock(folder.database()).utcOffset.value_or(HostOffset());
}

// A phone tells calls by its own clock and keeps them in UTC; its time zone is not told. The one that makes its clock
// the right one is kept, so that the folder shows the same times wherever it is served.
minutes ChooseOffset(const Taking& taking) {
  using namespace std::chrono;
  constexpr auto kFarthest = hours(14);
  const auto time = Client(taking.session).VolatileInfo().phone_time;
  minutes offset{0};
  if (time) {
    const year_month_day day(year(time->year), month(static_cast<unsigned>(time->month)),
                             std::chrono::day(static_cast<unsigned>(time->day)));
    if (day.ok()) {
      const auto by_phone = sys_days(day) + hours(time->hour) + minutes(time->minute);
      const auto ahead = round<duration<int, std::ratio<900>>>(by_phone - system_clock::now());
      if (abs(ahead) <= kFarthest) offset = ahead;
    }
  }
  handset::Insert(taking.folder.database(), "UPDATE device SET clock_utc_offset = ?", offset.count());
  return offset;
}

class CallWriter {
 public:
  CallWriter(const Taking& taking, minutes offset)
      : database_(taking.folder.database()), losses_(taking), batch_(database_), offset_(offset) {}

  const LossTeller& losses() const { return losses_; }
  static std::string NameOf(uint64_t number) { return fmt::format("call {}", number); }

  void Put(uint64_t number, std::string_view document) {
    losses_.Try(NameOf(number), [&] {
      Losses losses;
      const handset::CallEntry row = CallRow(document, offset_, losses);
      times_.Next(row.start);
      handset::InsertCalls(database_, {row});
      batch_.Done(document.size());
      losses_.Tell(NameOf(number), losses);
    });
  }
  void Finish() {
    batch_.Finish();
    times_.Finish(losses_, std::string(kCallsDomain.name));
  }

 private:
  SQLite::Database& database_;
  LossTeller losses_;
  Batch batch_;
  FallingTimes times_;
  const minutes offset_;
};

void Take(const Taking& taking) {
  const minutes offset = ChooseOffset(taking);
  CallLog log(taking.session);
  const uint32_t count = log.Rewind();
  taking.watch.Expect(count);
  CallWriter writer(taking, offset);
  uint64_t seen = 0;
  ItemWalk<Call> walk;
  walk.visit = [&](const Walked<Call>& walked) {
    writer.Put(walked.number, walked.document);
    taking.watch.Advance(1);
    return ++seen < kMostItems;
  };
  walk.miss = [&](uint64_t number, const Failure& why) {
    writer.losses().Tell(CallWriter::NameOf(number), why.what());
    taking.watch.Advance(1);
    seen++;
  };
  WalkCalls(log, walk);
  writer.Finish();
  const uint32_t behind = log.Rewind();
  if (count != behind || seen % kCountWraps != count)
    writer.losses().Tell(
        std::string(kCallsDomain.name),
        fmt::format("the phone told {} calls before they were read, gave {} and told {} then", count, seen, behind));
}

// By the phone's clock, whatever its time zone was taken for.
handset::CallEntry InLocalTime(handset::CallEntry call, minutes offset) {
  const int64_t ahead = handset::FileTimeSteps(offset).count();
  for (int64_t* time : {&call.start, &call.end}) {
    int64_t sum = 0;
    if (!__builtin_add_overflow(*time, ahead, &sum) && sum >= 0) *time = sum;
  }
  return call;
}

void ForEach(const PhoneFolder& folder, const RecordSink& sink) {
  const minutes offset = OffsetOf(folder);
  SQLite::Statement ids(folder.database(), "SELECT id FROM call ORDER BY start_time, id");
  std::string last;
  int same = 0;
  while (ids.executeStep()) {
    const auto call = handset::SelectCall(folder.database(), ids.getColumn(0).getInt64());
    if (!call) continue;
    const handset::CallEntry local = InLocalTime(*call, offset);
    std::string time = TimeKey(local.start);
    same = time == last ? same + 1 : 1;
    sink({fmt::format("{} {:05}", time, same), handset::PrintCall(local)});
    last = std::move(time);
  }
}

}  // namespace

const Domain kCallsDomain = {.name = "calls",
                             .item = "call",
                             .not_carried = kNotCarried,
                             .clear = "DELETE FROM call",
                             .take = Take,
                             .for_each = ForEach};

}  // namespace brelix::backup
