// Reading vCard files that hold anything. A card that is read can be written and is the same afterwards.
#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "desktop/Failure.h"
#include "fuzz/VCardRoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  std::istringstream in(std::string(reinterpret_cast<const char*>(bytes), size));
  brelix::VCardReader reader(in, "file");
  const auto lines =
      static_cast<std::size_t>(std::count(bytes, bytes + size, '\n') + std::count(bytes, bytes + size, '\r'));
  try {
    while (const auto card = reader.Next()) {
      if (card->line == 0 || card->line > lines + 1) std::abort();
      if (!card->error) fuzz::NeedSameFromAVCard(card->contact);
    }
  } catch (const brelix::Failure&) {
  }
  return 0;
}
