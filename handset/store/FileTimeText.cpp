#include "handset/store/FileTimeText.h"

#include <limits>

#include "handset/store/TimeText.h"

namespace handset {

FileTime ParseFileTime(const JsonNode& node) {
  if (node.GetJson().is_object()) {
    node.NeedObject({"fileTime"});
    return node.Need("fileTime").Integer(0, std::numeric_limits<FileTime>::max());
  }
  const std::string text = node.String();
  std::optional<LocalTime> time;
  if (text.ends_with('Z')) time = ParseTime(std::string_view(text).substr(0, text.size() - 1));
  if (!time) node.Misfit("a time in UTC such as \"2009-07-12T13:45:01Z\"");
  return ToFileTime(time->time_since_epoch());
}

nlohmann::json PrintFileTime(FileTime time) {
  using namespace std::chrono;
  const auto since = floor<milliseconds>(SinceUnixStart(time));
  const LocalTime shown{since};
  const bool wholeMilliseconds = ToFileTime(since) == time;
  if (!wholeMilliseconds || year_month_day(floor<days>(shown)).year() > year(9999)) return {{"fileTime", time}};
  std::string text = PrintTime(shown);
  if (text.ends_with(".000")) text.resize(text.size() - 4);
  return text + "Z";
}

}  // namespace handset
