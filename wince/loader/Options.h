// The loader's command line.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "wince/loader/Module.h"

namespace crossing {

// Wrong usage, in one line.
class UsageError : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

struct Options {
  std::filesystem::path phone;
  std::filesystem::path library;
  Place place = Place::kPreferred;
  std::uint32_t stackSkew = 0;
  bool checkLeaks = false;
  bool help = false;

  // A host library beside the agent's, which serves desktops over a socket.
  std::filesystem::path host;
  std::string listen;  // "unix:PATH"
  // A host program, which is run beside the agent's library.
  std::filesystem::path program;
};

extern const char kHelp[];

// Throws UsageError.
Options ParseOptions(const std::vector<std::string>& words);

}  // namespace crossing
