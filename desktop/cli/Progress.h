// A progress bar on standard error: what is done, at what rate, and how long it will still take. It appears only on a
// terminal, and only when the work has taken a second; with standard error elsewhere nothing is ever printed.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace brelix::cli {

class Progress {
 public:
  enum class Unit { kItems, kBytes };

  // One at a time. Without a total there is no bar and no remaining time.
  Progress(std::string label, std::optional<uint64_t> total, Unit unit = Unit::kItems);
  // Takes the bar away; the terminal looks as if it had never been there.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Advance(uint64_t by = 1);
  // One more, of so many.
  void Step(uint64_t total) {
    SetTotal(total);
    Advance();
  }
  void SetTotal(std::optional<uint64_t> total) { total_ = total; }
  void SetLabel(std::string label) { label_ = std::move(label); }

  // While it lives the terminal's line is free for other text.
  class Hidden {
   public:
    Hidden();
    ~Hidden();
    Hidden(const Hidden&) = delete;
    Hidden& operator=(const Hidden&) = delete;
  };

  // The line itself, at most `width` columns wide: "people.vcf [####----] 120/240 12/s 0:10 left".
  static std::string Line(const std::string& label, uint64_t done, std::optional<uint64_t> total, Unit unit,
                          std::chrono::duration<double> elapsed, size_t width);

 private:
  void Draw();

  std::string label_;
  std::optional<uint64_t> total_;
  const Unit unit_;
  const bool on_terminal_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point next_draw_;
  uint64_t done_ = 0;
  bool shown_ = false;
};

}  // namespace brelix::cli
