// A record of every frame on the link, both ways, for people who look into the protocol.
#pragma once

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "desktop/FrameCodec.h"

namespace brelix {

class Trace {
 public:
  // Throws a local-file failure when the file cannot be made.
  explicit Trace(const std::string& path);

  void Sent(ByteView frame);
  void Received(const Frame& frame);
  // Bytes that are no frame: what nudges an agent, or what is left of an answer that never became whole.
  void Loose(std::string_view direction, ByteView bytes);
  void Filler(size_t bytes);
  // Throws a local-file failure when something could not be written.
  void Finish();

 private:
  void Write(std::string_view direction, std::string_view headline, ByteView bytes);

  std::string path_;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// Sixteen bytes a line: offset, hexadecimal, printable ASCII.
std::string HexDump(ByteView bytes);

}  // namespace brelix
