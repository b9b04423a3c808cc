// What a command has to say: rows for people or one JSON object for programs, never both.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brelix::cli {

using Json = nlohmann::ordered_json;

class Report {
 public:
  // One fact. The text is shown to people ("unknown" when there is none), the value to programs (null likewise).
  void Add(std::string_view label, const std::optional<std::string>& text, std::string_view key, Json value);
  // A text that is the same for both.
  void Add(std::string_view label, std::string_view key, const std::optional<std::string>& text);
  // Lines below the rows, for people only.
  void Below(const std::string& text) { below_ += text; }

  std::string ForPeople() const;
  std::string ForPrograms() const;

 private:
  struct Row {
    std::string label, text;
  };
  std::vector<Row> rows_;
  std::string below_;
  Json json_ = Json::object();
};

// Throws a local-file failure when not everything could be written.
void WriteToStdout(std::string_view text);
// One line on standard error.
void Complain(std::string_view text);

// "64.0 MiB"
std::string ReadableSize(int64_t bytes);

}  // namespace brelix::cli
