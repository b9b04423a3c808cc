#include "desktop/cli/Progress.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "desktop/Text.h"
#include "desktop/cli/Output.h"

namespace brelix::cli {
namespace {

using std::chrono::steady_clock;
constexpr std::chrono::milliseconds kFirstAfter{1000};
constexpr std::chrono::milliseconds kEvery{200};
constexpr size_t kWidestBar = 30;

Progress* current = nullptr;

size_t TerminalWidth() {
  winsize size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
  return size.ws_col;
}

std::string Amount(uint64_t count, Progress::Unit unit) {
  return unit == Progress::Unit::kBytes ? ReadableSize(static_cast<int64_t>(count)) : std::to_string(count);
}

std::string Duration(double seconds) {
  const auto whole = static_cast<uint64_t>(seconds + 0.5);
  if (whole >= 3600) return fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
  return fmt::format("{}:{:02}", whole / 60, whole % 60);
}

// Cut between characters; a character counts as one column.
std::string Shortened(const std::string& text, size_t columns) {
  size_t used = 0;
  for (size_t i = 0; i < text.size(); i++)
    if ((text[i] & 0xC0) != 0x80 && used++ == columns) return text.substr(0, i);
  return text;
}

void EraseLine() { std::fputs("\r\033[K", stderr); }

}  // namespace

Progress::Progress(std::string label, std::optional<uint64_t> total, Unit unit)
    : label_(std::move(label)),
      total_(total),
      unit_(unit),
      on_terminal_(isatty(STDERR_FILENO) != 0),
      next_draw_(start_ + kFirstAfter) {
  current = this;
}

Progress::~Progress() {
  if (shown_) EraseLine();
  current = nullptr;
}

void Progress::Advance(uint64_t by) {
  done_ += by;
  if (!on_terminal_ || steady_clock::now() < next_draw_) return;
  Draw();
}

void Progress::Draw() {
  const std::chrono::duration<double> elapsed = steady_clock::now() - start_;
  next_draw_ = steady_clock::now() + kEvery;
  EraseLine();
  std::fputs(Line(label_, done_, total_, unit_, elapsed, TerminalWidth() - 1).c_str(), stderr);
  std::fflush(stderr);
  shown_ = true;
}

std::string Progress::Line(const std::string& label, uint64_t done, std::optional<uint64_t> total, Unit unit,
                           std::chrono::duration<double> elapsed, size_t width) {
  const double rate = elapsed.count() > 0 ? static_cast<double>(done) / elapsed.count() : 0;
  std::string numbers = Amount(done, unit);
  if (total) numbers += "/" + Amount(*total, unit);
  numbers += fmt::format(" {}/s", unit == Unit::kBytes ? Amount(static_cast<uint64_t>(rate), unit)
                                                       : fmt::format("{:.{}f}", rate, rate < 10 ? 1 : 0));
  if (total && *total > done && rate > 0)
    numbers += fmt::format(" {} left", Duration(static_cast<double>(*total - done) / rate));

  const size_t room = width > numbers.size() + 1 ? width - numbers.size() - 1 : 0;
  const size_t bar = total && room > 20 ? std::min(kWidestBar, room / 2) : 0;
  const std::string head = Shortened(Printable(label), room - (bar > 0 ? bar + 3 : 0));
  std::string line = head.empty() ? "" : head + " ";
  if (bar > 0) {
    const uint64_t full = *total == 0 ? bar : std::min<uint64_t>(bar, done * bar / *total);
    line += fmt::format("[{:#<{}}{:-<{}}] ", "", full, "", bar - full);
  }
  return Shortened(line + numbers, width);
}

Progress::Hidden::Hidden() {
  if (current != nullptr && current->shown_) {
    EraseLine();
    std::fflush(stderr);
  }
}

Progress::Hidden::~Hidden() {
  if (current != nullptr && current->shown_) current->Draw();
}

}  // namespace brelix::cli
