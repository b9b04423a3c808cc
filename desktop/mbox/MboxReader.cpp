#include "desktop/mbox/MboxReader.h"

#include <algorithm>
#include <cctype>
#include <fmt/format.h>
#include <limits>

#include "desktop/Failure.h"
#include "desktop/mbox/MimeText.h"

namespace brelix {
namespace {

constexpr size_t kLongestLine = 1 << 16;     // mail should have no line above 998
constexpr size_t kLongestHeaders = 1 << 20;  // those we keep, of one message

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// "From somebody Thu Jul  9 12:00:00 2009": only a line with a time of day divides messages, so that a text that begins
// with the word and was not escaped does not.
bool IsSeparator(std::string_view line) {
  if (!line.starts_with("From ")) return false;
  for (size_t colon = line.find(':'); colon != line.npos; colon = line.find(':', colon + 1))
    if (colon >= 7 && colon + 2 < line.size() && IsDigit(line[colon - 1]) && IsDigit(line[colon - 2]) &&
        IsDigit(line[colon + 1]) && IsDigit(line[colon + 2]))
      return true;
  return false;
}

bool IsWanted(std::string_view name) {
  constexpr std::string_view kWanted[] = {"from", "to", "cc", "subject", "date", "x-direction"};
  return std::find(std::begin(kWanted), std::end(kWanted), name) != std::end(kWanted);
}

std::string_view Trimmed(std::string_view text) {
  const size_t from = text.find_first_not_of(" \t");
  if (from == text.npos) return {};
  return text.substr(from, text.find_last_not_of(" \t") - from + 1);
}

}  // namespace

void MboxReader::Complain(const std::string& what) const {
  throw Failure(Exit::kLocalFile, fmt::format("{}:{}: {}", name_, std::max<size_t>(line_, 1), what));
}

MboxReader::MboxReader(std::istream& file, std::string name)
    : file_(file), name_(std::move(name)), buffer_(kLongestLine) {}

bool MboxReader::ReadLine() {
  if (cut_) file_.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
  file_.getline(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
  auto size = static_cast<size_t>(file_.gcount());
  if (file_.bad()) Complain("reading failed");
  if (size == 0 && file_.eof()) return false;
  line_++;
  cut_ = file_.fail();
  if (cut_)
    file_.clear();
  else if (!file_.eof())
    size--;  // the line feed, which is counted and not stored
  line_text_ = {buffer_.data(), size};
  if (line_text_.ends_with('\r')) line_text_.remove_suffix(1);
  return true;
}

// Leaves the "From " line in line_text_.
bool MboxReader::SkipToMessage() {
  if (at_separator_) return true;
  bool after_blank = true;
  while (ReadLine()) {
    if (after_blank && IsSeparator(line_text_)) return true;
    if (began_ == 0 && !line_text_.empty())
      Complain("no message begins here with a line \"From ADDRESS DATE\"; is this a mail folder in mbox format?");
    after_blank = line_text_.empty();
  }
  return false;
}

// A header that we use and that begins in line_text_; others are left out.
void MboxReader::AddHeader(std::vector<Header>& headers) const {
  const size_t colon = line_text_.find(':');
  std::string name(Trimmed(line_text_.substr(0, colon)));
  const bool valid = colon != line_text_.npos && !name.empty() &&
                     std::all_of(name.begin(), name.end(), [](char c) { return c > ' ' && c < 0x7F; });
  if (!valid) Complain("neither a header (\"Name: value\") nor the empty line that ends the headers");
  std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
  headers.push_back({name, std::string(IsWanted(name) ? line_text_.substr(colon + 1) : "")});
}

std::vector<MboxReader::Header> MboxReader::ReadHeaders() {
  std::vector<Header> headers;
  size_t size = 0;
  while (ReadLine() && !line_text_.empty()) {
    // Headers may end with the file's next message, or be preceded by an escaped separator of an earlier file.
    if (IsSeparator(line_text_)) {
      at_separator_ = true;
      break;
    }
    if (line_text_.starts_with(">From ")) continue;
    if (line_text_[0] != ' ' && line_text_[0] != '\t') {
      AddHeader(headers);
      size += headers.back().value.size() + headers.back().name.size();
    } else if (headers.empty()) {
      Complain("a continued header that did not begin");
    } else if (IsWanted(headers.back().name)) {
      headers.back().value += line_text_;
      size += line_text_.size();
    }
    if (size > kLongestHeaders) Complain("the headers of one message are longer than 1 MiB");
  }
  return headers;
}

std::optional<Letter> MboxReader::Next() {
  if (!SkipToMessage()) return std::nullopt;
  at_separator_ = false;
  began_ = line_;
  Letter letter;
  std::vector<Mailbox> copies;
  for (const Header& header : ReadHeaders()) {
    const std::string value(Trimmed(header.value));
    if (header.name == "from" && !letter.from) {
      std::vector<Mailbox> from = DecodeAddresses(value);
      if (!from.empty()) letter.from = std::move(from.front());
    }
    if (header.name == "to") std::ranges::move(DecodeAddresses(value), std::back_inserter(letter.to));
    if (header.name == "cc") std::ranges::move(DecodeAddresses(value), std::back_inserter(copies));
    if (header.name == "subject" && !letter.subject && !value.empty()) letter.subject = DecodeText(value);
    if (header.name == "date" && !letter.date) letter.date = DecodeDate(value);
    if (header.name == "x-direction" && (value == "incoming" || value == "outgoing"))
      letter.outgoing = value == "outgoing";
  }
  std::ranges::move(copies, std::back_inserter(letter.to));
  return letter;
}

}  // namespace brelix
