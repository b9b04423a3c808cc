#include "desktop/vcard/VCardScanner.h"

#include <algorithm>
#include <cctype>
#include <fmt/format.h>

#include "desktop/Failure.h"
#include "desktop/Text.h"

namespace brelix {
namespace {

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

bool Says(std::string_view line, std::string_view capitals) {
  line = Trimmed(line);
  return line.size() == capitals.size() && std::equal(line.begin(), line.end(), capitals.begin(), [](char a, char b) {
           return std::toupper(static_cast<unsigned char>(a)) == b;
         });
}

// A line of base64 and nothing else, as some phones wrote without indenting it.
bool LooksLikeBase64(std::string_view line) {
  line = Trimmed(line);
  return !line.empty() && std::all_of(line.begin(), line.end(), [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '+' || c == '/' || c == '=';
  });
}

std::optional<VCardVersion> VersionNamed(std::string_view text) {
  text = Trimmed(text);
  if (text == "2.1") return VCardVersion::k21;
  if (text == "3.0") return VCardVersion::k30;
  if (text == "4.0") return VCardVersion::k40;
  return std::nullopt;
}

}  // namespace

void VCardScanner::Fail(size_t line, const std::string& what) const {
  throw Failure(Exit::kLocalFile, fmt::format("{}:{}: {}", file_, line, what));
}

// One line of the file without its end, which may be LF, CR LF or CR; false at the end of the file.
bool VCardScanner::TakeLine(std::string& line) {
  line.clear();
  std::streambuf& source = *in_.rdbuf();
  constexpr int kEnd = std::char_traits<char>::eof();
  int c = source.sbumpc();
  if (c == kEnd) return false;
  number_++;
  for (; c != kEnd && c != '\n' && c != '\r'; c = source.sbumpc()) {
    if (c == 0) Fail(number_, "this is no vCard file: it holds binary data");
    line += static_cast<char>(c);
    if (line.size() > kMaxVCard)
      Fail(number_, fmt::format("a line of more than {} bytes; this is no vCard file, or it is damaged", kMaxVCard));
  }
  if (c == '\r' && source.sgetc() == '\n') source.sbumpc();
  bytes_ += line.size() + 1;
  card_bytes_ += line.size() + 1;
  if (bytes_ > kMaxVCardFile)
    Fail(number_, fmt::format("the file is larger than {} MiB; divide it into smaller ones", kMaxVCardFile >> 20));
  if (number_ == 1 && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
  if (number_ == 1 && (line.starts_with("\xFF\xFE") || line.starts_with("\xFE\xFF")))
    Fail(1, "the file is UTF-16; convert it to UTF-8 first");
  return true;
}

bool VCardScanner::FindBegin(ScannedCard& card) {
  std::string line;
  do {
    if (!TakeLine(line)) return false;
  } while (Trimmed(line).empty());
  if (!Says(line, "BEGIN:VCARD"))
    Fail(number_, fmt::format("a card must begin here with BEGIN:VCARD, but the line says \"{}\"",
                              Printable(CleanUtf8(line.substr(0, 40)))));
  card.line = number_;
  return true;
}

// Whether the line belongs to the one before; adds it if so.
bool VCardScanner::Continues(const std::string& line) {
  if (current_.empty()) return false;
  if (quoted_printable_ && current_.ends_with('=')) {
    current_.pop_back();
    current_ += line;
    return true;
  }
  if (line.starts_with(' ') || line.starts_with('\t')) {
    // 2.1 folds at a blank that belongs to the text, later versions put one in.
    current_ += version21_ && !base64_ ? line : line.substr(1);
    return true;
  }
  if (!base64_ || !LooksLikeBase64(line)) return false;
  current_ += line;
  return true;
}

void VCardScanner::FinishLine(ScannedCard& card) {
  if (current_.empty()) return;
  if (auto line = ParseVCardLine(current_, current_number_)) {
    if (line->name == "VERSION") {
      const auto version = VersionNamed(line->value);
      if (!version)
        Fail(current_number_, fmt::format("vCard version \"{}\" is not known (2.1, 3.0 and 4.0 are)",
                                          Printable(CleanUtf8(line->value.substr(0, 20)))));
      card.version = *version;
      version21_ = card.version == VCardVersion::k21;
    } else {
      card.lines.push_back(std::move(*line));
    }
  } else {
    card.odd.push_back(fmt::format("line {}: \"{}\" is no line of a vCard", current_number_,
                                   Printable(CleanUtf8(current_.substr(0, 40)))));
  }
  if (card.lines.size() + card.odd.size() > kMaxVCardLines)
    Fail(number_, fmt::format("the card that begins on line {} has more than {} lines", card.line, kMaxVCardLines));
  current_.clear();
}

// An agent may be described by a card inside the card.
void VCardScanner::SkipInnerCard(ScannedCard& card) {
  const size_t begin = number_;
  size_t depth = 1;
  std::string line;
  while (depth > 0) {
    if (!TakeLine(line)) Fail(number_, fmt::format("the file ends inside the card that begins on line {}", begin));
    if (Says(line, "BEGIN:VCARD")) depth++;
    if (Says(line, "END:VCARD")) depth--;
    if (card_bytes_ > kMaxVCard)
      Fail(number_, fmt::format("the card that begins on line {} has more than {} bytes", begin, kMaxVCard));
  }
  card.odd.push_back(fmt::format("line {}: AGENT, a card inside the card, has no field on a phone", begin));
  current_.clear();
}

void VCardScanner::Inside(ScannedCard& card) {
  std::string line;
  for (;;) {
    if (!TakeLine(line)) {
      const std::string name = current_.substr(0, current_.find_first_of(":;"));
      Fail(number_, fmt::format("the file ends inside the card that begins on line {}{}; it is cut off", card.line,
                                name.empty() ? "" : ", in its " + Printable(CleanUtf8(name.substr(0, 40)))));
    }
    if (card_bytes_ > kMaxVCard)
      Fail(number_, fmt::format("the card that begins on line {} has more than {} bytes", card.line, kMaxVCard));
    if (Continues(line)) continue;
    if (Says(line, "BEGIN:VCARD")) {
      if (!current_.starts_with("AGENT"))
        Fail(number_,
             fmt::format("a card begins inside the one that begins on line {} and has no END:VCARD", card.line));
      SkipInnerCard(card);
      continue;
    }
    FinishLine(card);
    if (Says(line, "END:VCARD")) return;
    if (Trimmed(line).empty()) continue;
    current_ = line;
    current_number_ = number_;
    const auto parsed = ParseVCardLine(line, number_);
    quoted_printable_ = parsed && parsed->IsQuotedPrintable();
    base64_ = parsed && parsed->IsBase64();
  }
}

std::optional<ScannedCard> VCardScanner::Next() {
  ScannedCard card;
  card_bytes_ = 0;
  current_.clear();
  version21_ = false;
  if (!FindBegin(card)) return std::nullopt;
  Inside(card);
  return card;
}

}  // namespace brelix
