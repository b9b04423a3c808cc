#include "desktop/cli/Output.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fmt/format.h>
#include <libsmartcols.h>
#include <memory>
#include <new>
#include <poll.h>
#include <unistd.h>

#include "desktop/Failure.h"
#include "desktop/Text.h"
#include "desktop/Waiting.h"
#include "desktop/cli/Interrupt.h"
#include "desktop/cli/Progress.h"

namespace brelix::cli {
namespace {

bool Coloured(int fd) {
  const char* no_color = std::getenv("NO_COLOR");
  return isatty(fd) != 0 && (no_color == nullptr || *no_color == '\0');
}

bool WriteAll(int fd, std::string_view text, CancelFd cancel) {
  while (!text.empty()) {
    // A reader that does not read must not keep an interrupt away. What is ready takes so many bytes without waiting.
    if (cancel >= 0) WaitFor(fd, POLLOUT, Deadline::max(), cancel);
    const ssize_t count = write(fd, text.data(), std::min<size_t>(text.size(), PIPE_BUF));
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) text.remove_prefix(count);
  }
  return true;
}

class Table {
 public:
  explicit Table(bool fit_terminal) : table_(scols_new_table(), scols_unref_table) {
    if (!table_) throw std::bad_alloc();
    if (!fit_terminal) scols_table_set_termforce(table_.get(), SCOLS_TERMFORCE_NEVER);
    scols_table_enable_colors(table_.get(), Coloured(STDOUT_FILENO));
  }

  libscols_table* Get() const { return table_.get(); }

  libscols_column* NewColumn(const char* title, int flags) const {
    libscols_column* column = scols_table_new_column(table_.get(), title, 0, flags);
    if (column == nullptr) throw std::bad_alloc();
    return column;
  }

  void NewLine(const std::vector<std::string>& cells) const {
    libscols_line* line = scols_table_new_line(table_.get(), nullptr);
    if (line == nullptr) throw std::bad_alloc();
    for (size_t i = 0; i < cells.size(); i++)
      if (scols_line_set_data(line, i, cells[i].c_str()) != 0) throw std::bad_alloc();
  }

  std::string Text() const {
    char* printed = nullptr;
    if (scols_print_table_to_string(table_.get(), &printed) != 0) throw std::bad_alloc();
    const std::unique_ptr<char, decltype(&std::free)> owned(printed, std::free);
    std::string text = printed == nullptr ? "" : printed;
    if (!text.empty() && text.back() != '\n') text += '\n';
    return text;
  }

 private:
  const std::unique_ptr<libscols_table, decltype(&scols_unref_table)> table_;
};

}  // namespace

void Report::Add(std::string_view label, const std::optional<std::string>& text, std::string_view key, Json value) {
  rows_.push_back({std::string(label), Printable(text.value_or("unknown"))});
  json_[std::string(key)] = std::move(value);
}

void Report::Add(std::string_view label, std::string_view key, const std::optional<std::string>& text) {
  Add(label, text, key, text ? Json(*text) : Json());
}

std::string Report::ForPeople() const {
  if (rows_.empty()) return below_;
  const Table table(false);
  scols_table_enable_noheadings(table.Get(), 1);
  scols_column_set_color(table.NewColumn("label", 0), "bold");
  table.NewColumn("text", 0);
  for (const Row& row : rows_) table.NewLine({row.label, row.text});
  return table.Text() + below_;
}

std::string Report::ForPrograms() const { return json_.dump(2, ' ', false, Json::error_handler_t::replace) + "\n"; }

void List::Add(const Json& object, std::vector<std::string> cells) {
  if (json_) return WriteToStdout(JsonLine(object));
  for (std::string& cell : cells) cell = Printable(cell);
  rows_.push_back(std::move(cells));
}

void List::Finish() {
  if (json_ || rows_.empty()) return;
  const Table table(isatty(STDOUT_FILENO) != 0);
  for (const Column& column : columns_) {
    const int flags = (column.to_the_right ? SCOLS_FL_RIGHT : 0) | (column.may_shrink ? SCOLS_FL_TRUNC : 0);
    scols_cell_set_color(scols_column_get_header(table.NewColumn(column.title.c_str(), flags)), "bold");
  }
  for (const auto& row : rows_) table.NewLine(row);
  rows_.clear();
  WriteToStdout(table.Text());
}

std::string JsonLine(const Json& object) { return object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n"; }

void WriteToStdout(std::string_view text) {
  if (!WriteAll(STDOUT_FILENO, text, InterruptFd()))
    throw Failure(Exit::kLocalFile, fmt::format("standard output cannot be written: {}", std::strerror(errno)));
}

void Complain(std::string_view text) {
  const Progress::Hidden hidden;
  const bool coloured = Coloured(STDERR_FILENO);
  WriteAll(STDERR_FILENO,
           fmt::format("{}brelix:{} {}\n", coloured ? "\033[1m" : "", coloured ? "\033[0m" : "", Printable(text)), -1);
}

std::string ReadableSize(int64_t bytes) {
  constexpr const char* kUnits[] = {"bytes", "KiB", "MiB", "GiB"};
  double size = static_cast<double>(bytes);
  size_t unit = 0;
  while (size >= 1024 && unit + 1 < std::size(kUnits)) {
    size /= 1024;
    unit++;
  }
  return unit == 0 ? fmt::format("{} bytes", bytes) : fmt::format("{:.1f} {}", size, kUnits[unit]);
}

}  // namespace brelix::cli
