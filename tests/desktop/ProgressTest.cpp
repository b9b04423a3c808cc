#include <gtest/gtest.h>

#include "desktop/cli/Progress.h"

namespace brelix::cli {
namespace {

using std::chrono::seconds;
using Unit = Progress::Unit;

TEST(Progress, SaysWhatIsDoneHowFastAndHowLongItTakesStill) {
  EXPECT_EQ(Progress::Line("contacts", 50, 200, Unit::kItems, seconds(5), 60),
            "contacts [####---------------] 50/200 10/s 0:15 left");
  EXPECT_EQ(Progress::Line("photo", 1 << 20, 4 << 20, Unit::kBytes, seconds(2), 70),
            "photo [####------------] 1.0 MiB/4.0 MiB 512.0 KiB/s 0:06 left");
  EXPECT_EQ(Progress::Line("messages", 3, std::nullopt, Unit::kItems, seconds(2), 60), "messages 3 1.5/s");
  EXPECT_EQ(Progress::Line("x", 1, 7201, Unit::kItems, seconds(1), 60).substr(22), "1/7201 1.0/s 2:00:00 left");
  EXPECT_EQ(Progress::Line("x", 0, 0, Unit::kItems, seconds(0), 14), "x 0/0 0.0/s");
}

TEST(Progress, FitsItsLineAndNeverCutsACharacter) {
  for (size_t width = 0; width < 90; width++) {
    const std::string line =
        Progress::Line("\xC3\xA9t\xC3\xA9\n\xC3\xA9t\xC3\xA9", 5, 1000, Unit::kItems, seconds(9), width);
    size_t columns = 0;
    for (const char c : line) columns += (c & 0xC0) != 0x80;
    EXPECT_LE(columns, width);
    EXPECT_EQ(line.find('\n'), std::string::npos);
    EXPECT_TRUE(line.empty() || static_cast<unsigned char>(line.back()) < 0xC0) << "a character cut at " << width;
  }
}

}  // namespace
}  // namespace brelix::cli
