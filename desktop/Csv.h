// Lines of comma-separated values as RFC 4180 has them: CR LF behind each, quotation marks where a field needs them.
#pragma once

#include <span>
#include <string>

namespace brelix {

std::string CsvLine(std::span<const std::string> fields);

}  // namespace brelix
