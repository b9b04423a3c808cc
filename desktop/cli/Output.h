// What a command has to say: rows for people or one JSON object for programs, never both.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brelix::cli {

using Json = nlohmann::ordered_json;

template <typename T>
Json OrNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json();
}

class Report {
 public:
  // One fact. The text is shown to people ("unknown" when there is none), the value to programs (null likewise).
  void Add(std::string_view label, const std::optional<std::string>& text, std::string_view key, Json value);
  // A text that is the same for both.
  void Add(std::string_view label, std::string_view key, const std::optional<std::string>& text);
  // Lines below the rows, for people only.
  void Below(const std::string& text) { below_ += text; }

  bool Empty() const { return rows_.empty() && below_.empty(); }
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

// A list: a table for people, printed when it is whole, since its columns are as wide as their widest text; for
// programs one JSON object a line, each printed at once.
class List {
 public:
  struct Column {
    std::string title;
    bool to_the_right = false;  // for numbers
    bool may_shrink = false;    // cut to what the terminal is wide, where it is too narrow
  };
  List(bool json, std::vector<Column> columns) : json_(json), columns_(std::move(columns)) {}

  // The cells in the order of the columns.
  void Add(const Json& object, std::vector<std::string> cells);
  // Prints what is not printed yet.
  void Finish();

 private:
  const bool json_;
  const std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;
};

// The object on one line, with the line's end. What is no proper UTF-8 becomes U+FFFD.
std::string JsonLine(const Json& object);

// Throws a local-file failure when not everything could be written.
void WriteToStdout(std::string_view text);
// One line on standard error. Takes the place of a progress bar, which comes back below it.
void Complain(std::string_view text);

// "64.0 MiB"
std::string ReadableSize(int64_t bytes);

}  // namespace brelix::cli
