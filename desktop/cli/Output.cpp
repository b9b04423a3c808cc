#include "desktop/cli/Output.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fmt/format.h>
#include <libsmartcols.h>
#include <memory>
#include <new>
#include <unistd.h>

#include "desktop/Failure.h"
#include "desktop/Text.h"

namespace brelix::cli {
namespace {

bool Coloured(int fd) {
  const char* no_color = std::getenv("NO_COLOR");
  return isatty(fd) != 0 && (no_color == nullptr || *no_color == '\0');
}

bool WriteAll(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(fd, text.data(), text.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) text.remove_prefix(count);
  }
  return true;
}

}  // namespace

void Report::Add(std::string_view label, const std::optional<std::string>& text, std::string_view key, Json value) {
  rows_.push_back({std::string(label), Printable(text.value_or("unknown"))});
  json_[std::string(key)] = std::move(value);
}

void Report::Add(std::string_view label, std::string_view key, const std::optional<std::string>& text) {
  Add(label, text, key, text ? Json(*text) : Json());
}

std::string Report::ForPeople() const {
  const std::unique_ptr<libscols_table, decltype(&scols_unref_table)> table(scols_new_table(), scols_unref_table);
  if (!table) throw std::bad_alloc();
  scols_table_enable_noheadings(table.get(), 1);
  scols_table_set_termforce(table.get(), SCOLS_TERMFORCE_NEVER);
  scols_table_enable_colors(table.get(), Coloured(STDOUT_FILENO));
  libscols_column* labels = scols_table_new_column(table.get(), "label", 0, 0);
  scols_column_set_color(labels, "bold");
  scols_table_new_column(table.get(), "text", 0, 0);
  for (const Row& row : rows_) {
    libscols_line* line = scols_table_new_line(table.get(), nullptr);
    if (line == nullptr || scols_line_set_data(line, 0, row.label.c_str()) != 0 ||
        scols_line_set_data(line, 1, row.text.c_str()) != 0)
      throw std::bad_alloc();
  }
  char* printed = nullptr;
  if (scols_print_table_to_string(table.get(), &printed) != 0) throw std::bad_alloc();
  const std::unique_ptr<char, decltype(&std::free)> owned(printed, std::free);
  std::string text = printed == nullptr ? "" : printed;
  if (!text.empty() && text.back() != '\n') text += '\n';
  return text + below_;
}

std::string Report::ForPrograms() const { return json_.dump(2, ' ', false, Json::error_handler_t::replace) + "\n"; }

void WriteToStdout(std::string_view text) {
  if (!WriteAll(STDOUT_FILENO, text))
    throw Failure(Exit::kLocalFile, fmt::format("standard output cannot be written: {}", std::strerror(errno)));
}

void Complain(std::string_view text) {
  const bool coloured = Coloured(STDERR_FILENO);
  WriteAll(STDERR_FILENO,
           fmt::format("{}brelix:{} {}\n", coloured ? "\033[1m" : "", coloured ? "\033[0m" : "", Printable(text)));
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
