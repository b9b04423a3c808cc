// Interrupts as the user of a command makes them: a byte each, in a pipe.
#pragma once

#include <array>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace test {

class Interrupts {
 public:
  // At most four at a time.
  explicit Interrupts(size_t times = 0) {
    if (pipe2(ends_.data(), O_CLOEXEC | O_NONBLOCK) != 0) throw std::runtime_error("no pipe");
    Come(times);
  }
  ~Interrupts() {
    for (const int end : ends_) close(end);
  }
  Interrupts(const Interrupts&) = delete;
  Interrupts& operator=(const Interrupts&) = delete;

  void Come(size_t times) const {
    if (write(ends_[1], "!!!!", times) != static_cast<ssize_t>(times)) throw std::runtime_error("no room in the pipe");
  }
  int descriptor() const { return ends_[0]; }

 private:
  std::array<int, 2> ends_;
};

}  // namespace test
