// Reads a mail folder in mbox format, message by message, and of each the headers only. Takes memory for one message's
// headers, however long the file is.
#pragma once

#include <cstddef>
#include <istream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desktop/mbox/Letter.h"

namespace brelix {

class MboxReader {
 public:
  // The name is that of the file, for complaints.
  MboxReader(std::istream& file, std::string name);

  // Nothing at the end. Throws a local-file failure that names the line: where the file is no mbox, where a header is
  // neither a header nor the end of the headers, or where reading fails. Encoded words (RFC 2047) are decoded,
  // addresses and dates read as widely as they are written; a date that cannot be read is none.
  std::optional<Letter> Next();
  // The line at which the latest message began.
  size_t line() const { return began_; }

 private:
  struct Header {
    std::string name;  // in small letters
    std::string value;
  };

  bool ReadLine();
  bool SkipToMessage();
  std::vector<Header> ReadHeaders();
  void AddHeader(std::vector<Header>& headers) const;
  [[noreturn]] void Complain(const std::string& what) const;

  std::istream& file_;
  std::string name_;
  std::vector<char> buffer_;
  std::string_view line_text_;  // in the buffer, without its end, and without what is beyond the longest line
  bool cut_ = false;            // the rest of the line is still to be passed over
  size_t line_ = 0;
  size_t began_ = 0;
  bool at_separator_ = false;  // line_text_ is the "From " line of the next message
};

}  // namespace brelix
