// Cuts frames of one size out of a stream, fed whole or byte by byte. Run under callgrind, which counts the
// instructions of FeedFrames and what it calls.
//
//   bench_framing FRAME_BYTES whole|bytes TOTAL_BYTES
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#include "agent/engine/ReceiveWindow.h"

// Returns the number of frames cut. Called by name from outside, so that it is measured alone.
extern "C" __attribute__((noinline)) unsigned FeedFrames(CReceiveWindow& window,
                                                         std::span<std::uint8_t, wire::kPacketBufSize> packet,
                                                         const std::vector<std::uint8_t>& frame, std::size_t piece,
                                                         std::size_t total) {
  unsigned cut = 0;
  for (std::size_t fed = 0; fed + frame.size() <= total; fed += frame.size()) {
    for (std::size_t at = 0; at < frame.size();) {
      const std::span<std::uint8_t> room = window.Room();
      const std::size_t count = std::min({piece, frame.size() - at, room.size()});
      std::copy_n(frame.data() + at, count, room.data());
      window.Received(static_cast<std::uint32_t>(count));
      at += count;
      cut += window.CutFrame(packet) != 0 ? 1 : 0;
    }
  }
  return cut;
}

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: bench_framing FRAME_BYTES whole|bytes TOTAL_BYTES\n");
    return 2;
  }
  const std::size_t size = std::strtoul(argv[1], nullptr, 10);
  const std::size_t total = std::strtoul(argv[3], nullptr, 10);
  const std::size_t piece = std::string_view(argv[2]) == "whole" ? size : 1;
  if (size < wire::kShortestFrame || size > wire::kReceiveBufSize) {
    std::fprintf(stderr, "bench_framing: a frame has %u to %u bytes\n", wire::kShortestFrame, wire::kReceiveBufSize);
    return 2;
  }
  std::vector<std::uint8_t> frame(size, 0x41);
  std::fill_n(frame.begin(), 4, std::uint8_t{'X'});
  std::fill_n(frame.end() - 4, 4, std::uint8_t{'Z'});
  const auto window = std::make_unique<CReceiveWindow>();
  std::array<std::uint8_t, wire::kPacketBufSize> packet{};
  const unsigned cut = FeedFrames(*window, packet, frame, piece, total);
  if (cut != total / size) {
    std::fprintf(stderr, "bench_framing: %u frames cut, expected %zu\n", cut, total / size);
    return 1;
  }
  return 0;
}
