// SHA-256 of bytes that come piece by piece.
#pragma once

#include <memory>
#include <string>

#include "desktop/FrameCodec.h"

namespace brelix {

class Digest {
 public:
  Digest();
  ~Digest();
  Digest(const Digest&) = delete;
  Digest& operator=(const Digest&) = delete;

  void Add(ByteView bytes);
  // 64 hexadecimal digits, in lower case. Nothing can be added behind it.
  std::string Text();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

std::string DigestOf(ByteView bytes);

}  // namespace brelix
