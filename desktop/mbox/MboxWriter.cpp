#include "desktop/mbox/MboxWriter.h"

#include <algorithm>
#include <fmt/chrono.h>

#include "desktop/mbox/MimeText.h"

namespace brelix {
namespace {

// The date of a "From " line, as asctime() writes it; the epoch where there is none.
std::string SeparatorDate(const Letter& letter) {
  const auto time = letter.date.value_or(std::chrono::sys_seconds{});
  return fmt::format("{:%a %b %e %H:%M:%S %Y}", fmt::gmtime(time.time_since_epoch().count()));
}

std::string Addresses(const std::vector<Mailbox>& all) {
  std::string out;
  for (const Mailbox& mailbox : all) out += (out.empty() ? "" : ",\n ") + EncodeAddress(mailbox);
  return out;
}

std::string Escaped(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    const size_t marks = line.find_first_not_of('>');
    if (marks != line.npos && line.substr(marks).starts_with("From ")) out += '>';
    out.append(line) += '\n';
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return out;
}

}  // namespace

std::string WriteLetter(const Letter& letter, std::span<const HeaderField> more, std::string_view text) {
  std::string out = fmt::format("From {}{} {}\n", kNobody, kPhoneDomain, SeparatorDate(letter));
  const auto add = [&](std::string_view name, std::string_view value) { out += fmt::format("{}: {}\n", name, value); };
  if (letter.from) add("From", EncodeAddress(*letter.from));
  if (!letter.to.empty()) add("To", Addresses(letter.to));
  if (letter.subject) add("Subject", EncodeText(*letter.subject));
  if (letter.date) add("Date", EncodeDate(*letter.date));
  if (letter.outgoing) add("X-Direction", *letter.outgoing ? "outgoing" : "incoming");
  for (const auto& [name, value] : more) add(name, EncodeText(value));
  add("MIME-Version", "1.0");
  add("Content-Type", "text/plain; charset=utf-8");
  add("Content-Transfer-Encoding", "8bit");
  return out + '\n' + Escaped(text) + '\n';
}

}  // namespace brelix
