// A vCard file, card by card, without ever holding more than one card of it.
//
// What is wrong with the file as such is a local-file failure that names file and line: binary data, UTF-16, something
// outside a card, a card that is cut off or has no end, and sizes beyond any honest use.
#pragma once

#include <istream>
#include <optional>
#include <string>
#include <vector>

#include "desktop/vcard/VCardLine.h"

namespace brelix {

inline constexpr uint64_t kMaxVCardFile = 512u << 20;  // bytes of a file
inline constexpr size_t kMaxVCard = 8u << 20;          // bytes of one card
inline constexpr size_t kMaxVCardLines = 20000;        // lines of one card

struct ScannedCard {
  size_t line = 0;  // of its BEGIN
  VCardVersion version = VCardVersion::k30;
  std::vector<VCardLine> lines;  // without BEGIN, VERSION and END
  std::vector<std::string> odd;  // lines that are none, and what a card inside the card is
};

class VCardScanner {
 public:
  VCardScanner(std::istream& in, std::string file) : in_(in), file_(std::move(file)) {}
  // Nothing at the end of the file.
  std::optional<ScannedCard> Next();

 private:
  [[noreturn]] void Fail(size_t line, const std::string& what) const;
  bool TakeLine(std::string& line);
  bool FindBegin(ScannedCard& card);
  void Inside(ScannedCard& card);
  bool Continues(const std::string& line);
  void FinishLine(ScannedCard& card);
  void SkipInnerCard(ScannedCard& card);

  std::istream& in_;
  const std::string file_;
  size_t number_ = 0;  // of the line taken last
  uint64_t bytes_ = 0;
  size_t card_bytes_ = 0;
  // The line that is being put together.
  std::string current_;
  size_t current_number_ = 0;
  bool quoted_printable_ = false, base64_ = false, version21_ = false;
};

}  // namespace brelix
