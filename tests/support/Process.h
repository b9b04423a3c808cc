// Runs a program as a user would.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace test {

struct Outcome {
  int code = -1;
  std::string out, err;
};

class Process {
 public:
  // The first word is the program. Standard output goes to the given file, or is collected.
  explicit Process(std::vector<std::string> words, const std::string& stdout_path = "");
  ~Process();
  pid_t pid() const { return pid_; }
  // What was printed so far.
  std::string Out() const;
  Outcome Wait();
  // Sends the signal, then waits.
  Outcome End(int signal);

 private:
  pid_t pid_ = -1;
  std::string out_path_, err_path_;
};

std::string FreshPath();
inline Outcome Run(std::vector<std::string> words) { return Process(std::move(words)).Wait(); }

}  // namespace test
