// Mail folders of any content: they are read or refused with one line, and what was read can be written and read again.
#include <cstdlib>
#include <sstream>
#include <string>

#include "desktop/Failure.h"
#include "desktop/Text.h"
#include "desktop/mbox/MboxReader.h"
#include "desktop/mbox/MboxWriter.h"

namespace {

void Need(bool holds) {
  if (!holds) std::abort();
}

bool IsClean(const std::optional<std::string>& text) { return !text || brelix::CleanUtf8(*text) == *text; }

void WriteAndReadAgain(const brelix::Letter& letter) {
  std::istringstream file(brelix::WriteLetter(letter, {}, "From nobody at 12:00\n"));
  brelix::MboxReader reader(file, "again");
  const auto again = reader.Next();
  Need(again.has_value() && !reader.Next());
  Need(again->date == letter.date && again->outgoing == letter.outgoing);
  Need(again->to.size() == letter.to.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  std::istringstream file(std::string(reinterpret_cast<const char*>(bytes), size));
  brelix::MboxReader reader(file, "box");
  try {
    while (const auto letter = reader.Next()) {
      Need(reader.line() >= 1 && reader.line() <= size);
      Need(IsClean(letter->subject));
      for (const brelix::Mailbox& to : letter->to) Need(IsClean(to.name) && IsClean(to.address));
      WriteAndReadAgain(*letter);
    }
  } catch (const brelix::Failure& failure) {
    Need(std::string(failure.what()).starts_with("box:"));
  }
  return 0;
}
