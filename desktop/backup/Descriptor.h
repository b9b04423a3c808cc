// A descriptor that is closed at the end of its scope; one that is negative is none.
#pragma once

#include <unistd.h>

namespace brelix::backup {

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }

 private:
  const int fd_;
};

}  // namespace brelix::backup
