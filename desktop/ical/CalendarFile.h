// An iCalendar file cut into the components inside its calendars, line by line and without ever holding more than one.
// libical reads anything as something; what tells a broken file from a calendar is decided here, with the line.
#pragma once

#include <cstddef>
#include <istream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace brelix::ical {

struct Block {
  std::string name;  // "VEVENT", in capitals
  size_t line = 0;   // of its BEGIN
  std::string text;  // all its lines, unfolded
};

class CalendarFile {
 public:
  static constexpr size_t kMostBytes = 64u << 20;  // of the file; a phone holds a small part of that
  static constexpr size_t kMostBlock = 4u << 20;   // of one component

  // `name` is what failures call the file.
  CalendarFile(std::istream& in, std::string name) : in_(in), name_(std::move(name)) {}

  // The next component directly inside a VCALENDAR; nothing at the end. Throws a local-file failure, "FILE:LINE: what
  // is wrong", where the file is not one or more whole calendars.
  std::optional<Block> Next();
  size_t lines() const { return line_; }

 private:
  struct Open {
    std::string name;
    size_t line;
  };
  [[noreturn]] void Fail(size_t line, const std::string& what) const;
  bool ReadPhysical(std::string& out);
  bool ReadLine();
  bool TakeLine(Block& block);
  void Begin(const std::string& name, Block& block);
  bool End(const std::string& name);
  void CheckProperty(const std::string& name) const;

  std::istream& in_;
  std::string name_;
  size_t bytes_ = 0;
  size_t line_ = 0;    // the last physical line read
  std::string ahead_;  // the physical line after the current one
  bool has_ahead_ = false;
  std::string current_;  // the current line, unfolded
  size_t current_line_ = 0;
  std::vector<Open> open_;
  bool any_ = false;  // a calendar has been seen
};

}  // namespace brelix::ical
