#include "desktop/Csv.h"

namespace brelix {

std::string CsvLine(std::span<const std::string> fields) {
  std::string line;
  for (const std::string& field : fields) {
    if (&field != fields.data()) line += ',';
    if (field.find_first_of(",\"\r\n") == field.npos) {
      line += field;
      continue;
    }
    line += '"';
    for (const char c : field) {
      if (c == '"') line += '"';
      line += c;
    }
    line += '"';
  }
  return line + "\r\n";
}

}  // namespace brelix
