// Runs a program and stops it at one of its steps on the disk: for good, as a power switch would that is quick enough,
// or while somebody else does something.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace test {

struct Steps {
  // The system calls so far that change what is in a folder or bring something to the disk, by name.
  std::vector<std::string> names;
  int exit_code = -1;  // -1 when it was killed
};

// With `at` below the number of such steps, the program is killed before the one of this number, counted from 0.
Steps RunKilledAt(std::vector<std::string> words, size_t at = static_cast<size_t>(-1));

// `meanwhile` is done before the step of this number, to which the program then comes.
Steps RunStoppedAt(std::vector<std::string> words, size_t at, const std::function<void()>& meanwhile);

}  // namespace test
