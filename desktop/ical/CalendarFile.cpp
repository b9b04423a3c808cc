#include "desktop/ical/CalendarFile.h"

#include <algorithm>
#include <cctype>
#include <fmt/format.h>

#include "desktop/Failure.h"
#include "desktop/Text.h"

namespace brelix::ical {
namespace {

constexpr size_t kMostOpen = 16;
constexpr size_t kShown = 40;  // characters of a line that is quoted in a failure

bool IsNameCharacter(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-'; }

std::string Capitals(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
  return text;
}

std::string Quoted(const std::string& line) {
  std::string shown = line.substr(0, kShown);
  while (!IsUtf8(shown)) shown.pop_back();
  return fmt::format("\"{}{}\"", shown, line.size() > kShown ? "..." : "");
}

// "END:VEVENT" split at its first colon; the value of anything else than BEGIN and END is not looked at.
std::string ValueOf(const std::string& line) {
  std::string value = line.substr(line.find(':') + 1);
  value.erase(value.find_last_not_of(" \t") + 1);
  return value;
}

}  // namespace

void CalendarFile::Fail(size_t line, const std::string& what) const {
  throw Failure(Exit::kLocalFile, fmt::format("{}:{}: {}", name_, line, what));
}

// One line as it stands in the file, without its end.
bool CalendarFile::ReadPhysical(std::string& out) {
  out.clear();
  std::streambuf& source = *in_.rdbuf();
  constexpr int kEnd = std::char_traits<char>::eof();
  int c = source.sbumpc();
  if (c == kEnd) return false;
  line_++;
  for (; c != kEnd && c != '\n'; c = source.sbumpc()) {
    if (c == 0) Fail(line_, "a zero byte: this is no text file");
    if (out.size() >= kMostBlock) Fail(line_, fmt::format("a line of more than {} MiB", kMostBlock >> 20));
    out += static_cast<char>(c);
  }
  bytes_ += out.size() + 1;
  if (bytes_ > kMostBytes) Fail(line_, fmt::format("the file has more than {} MiB", kMostBytes >> 20));
  if (out.ends_with('\r')) out.pop_back();
  if (line_ == 1 && out.starts_with("\xEF\xBB\xBF")) out.erase(0, 3);
  return true;
}

// One line with those that continue it.
bool CalendarFile::ReadLine() {
  if (!has_ahead_ && !ReadPhysical(ahead_)) return false;
  current_.swap(ahead_);
  current_line_ = line_;
  while ((has_ahead_ = ReadPhysical(ahead_)) && (ahead_.starts_with(' ') || ahead_.starts_with('\t'))) {
    current_.append(ahead_, 1);
    if (current_.size() > kMostBlock) Fail(line_, fmt::format("a line of more than {} MiB", kMostBlock >> 20));
  }
  if (!IsUtf8(current_)) Fail(current_line_, "this is not UTF-8 text");
  return true;
}

void CalendarFile::CheckProperty(const std::string& name) const {
  if (!name.empty() && current_.find(':') != current_.npos) return;
  Fail(current_line_, fmt::format("{} is neither a property nor the rest of one", Quoted(current_)));
}

void CalendarFile::Begin(const std::string& name, Block& block) {
  if (open_.empty() && name != "VCALENDAR")
    Fail(current_line_, fmt::format("an iCalendar file begins with BEGIN:VCALENDAR, not with BEGIN:{}", name));
  if (open_.size() >= kMostOpen) Fail(current_line_, "too many components inside each other");
  if (open_.size() == 1) block = {name, current_line_, {}};
  open_.push_back({name, current_line_});
  any_ = true;
}

// True when a component directly inside a calendar has ended.
bool CalendarFile::End(const std::string& name) {
  if (open_.empty() || open_.back().name != name)
    Fail(current_line_, open_.empty() ? fmt::format("END:{} without its beginning", name)
                                      : fmt::format("END:{} where the {} of line {} should end", name,
                                                    open_.back().name, open_.back().line));
  open_.pop_back();
  return open_.size() == 1;
}

// True when `block` is whole.
bool CalendarFile::TakeLine(Block& block) {
  if (current_.empty()) return false;
  const auto after = std::find_if_not(current_.begin(), current_.end(), IsNameCharacter);
  const std::string name = Capitals({current_.begin(), after});
  const bool begins = name == "BEGIN" && after != current_.end() && *after == ':';
  const bool ends = name == "END" && after != current_.end() && *after == ':';
  if (open_.empty() && !begins && !ends)
    Fail(current_line_, any_ ? fmt::format("{} stands outside the calendar", Quoted(current_))
                             : "an iCalendar file begins with BEGIN:VCALENDAR; this one does not");
  CheckProperty(name);
  if (begins) Begin(Capitals(ValueOf(current_)), block);
  if (open_.size() == 1 && name == "VERSION" && ValueOf(current_) == "1.0")
    Fail(current_line_, "this is a vCalendar 1.0 file; export it as iCalendar 2.0");
  if (open_.size() >= 2) {
    block.text += current_ + "\r\n";
    if (block.text.size() > kMostBlock)
      Fail(block.line, fmt::format("the {} has more than {} MiB", block.name, kMostBlock >> 20));
  }
  return ends && End(Capitals(ValueOf(current_)));
}

std::optional<Block> CalendarFile::Next() {
  Block block;
  while (ReadLine())
    if (TakeLine(block)) return block;
  if (!open_.empty())
    Fail(line_, fmt::format("the file ends in the middle of the {} of line {}", open_.back().name, open_.back().line));
  if (!any_) Fail(1, "the file is empty");
  return std::nullopt;
}

}  // namespace brelix::ical
