// What goes wrong with one file, folder, key or value and leaves the others as they are. Work over many goes on after
// it.
#pragma once

#include <string>
#include <vector>

#include "desktop/Failure.h"

namespace brelix {

class EntryFailure : public Failure {
 public:
  using Failure::Failure;
};

// One of the things that a long work left out.
struct Problem {
  std::string path;  // as people write it
  std::string why;
};
using Problems = std::vector<Problem>;

}  // namespace brelix
