// FILETIMEs taken apart.
#include <chrono>

#include "handset/Enter.h"
#include "handset/store/FileTime.h"
#include "handset/system/SystemTime.h"
#include "platform/Kernel.h"

using handset::Call;
using handset::Enter;
using handset::Failure;
using handset::FileTime;

namespace {

// The last step of the year 30827, the latest that a SYSTEMTIME can say.
constexpr FileTime kLatest = 0x7FFF35F4F06C58EF;

FileTime Read(const ce::FILETIME* record) {
  if (record == nullptr) throw Failure{ce::ERROR_INVALID_PARAMETER};
  const FileTime time = handset::FromRecord(*record);
  if (time < 0) throw Failure{ce::ERROR_INVALID_PARAMETER};
  return time;
}

}  // namespace

namespace ce {

BOOL FileTimeToLocalFileTime(const FILETIME* time, FILETIME* local) {
  handset::Phone& phone = handset::ThisPhone();
  return Enter<Call::FileTimeToLocalFileTime>(phone, [&]() -> BOOL {
    const handset::FileTimeSteps offset = phone.clock.GetUtcOffset();
    FileTime sum = 0;
    if (__builtin_add_overflow(Read(time), offset.count(), &sum) || sum < 0) throw Failure{ERROR_INVALID_PARAMETER};
    *local = handset::ToRecord(sum);
    return 1;
  });
}

BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* system) {
  return Enter<Call::FileTimeToSystemTime>(handset::ThisPhone(), [&]() -> BOOL {
    using namespace std::chrono;
    const FileTime value = Read(time);
    if (value > kLatest) throw Failure{ERROR_INVALID_PARAMETER};
    *system = handset::ToSystemTime(handset::LocalTime(floor<milliseconds>(handset::SinceUnixStart(value))));
    return 1;
  });
}

}  // namespace ce
