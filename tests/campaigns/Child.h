// A program that is run many times and watched: how it ended, how long it took, how much memory it had.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace campaign {

struct Ending {
  int exit = -1;  // -1 when a signal ended it
  int signal = 0;
  bool too_long = false;
  long peak_kib = 0;  // of resident memory, of it or of the largest program that it ran
  std::string err;    // what it said on standard error, the first part of it
};

struct ChildRun {
  std::vector<std::string> words;
  std::filesystem::path folder;            // to run in
  std::filesystem::path err;               // a file for standard error; standard output goes nowhere
  std::vector<std::string> settings = {};  // NAME=VALUE, besides this process's own
  std::chrono::seconds limit{60};
};

// Kills it, with all that it started, when the limit is over.
Ending RunChild(const ChildRun& run);

// Whether a sanitizer, which exits with a code of its own, had anything to say.
bool Sanitized(const Ending& ending);

}  // namespace campaign
