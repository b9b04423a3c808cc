#include "desktop/contacts/PictureChunks.h"

#include <algorithm>

#include "desktop/Wire.h"

namespace brelix {
namespace {

constexpr uint8_t kLetter = wire::kEndMark[0];
constexpr size_t kLongestRun = wire::kEndMark.size() - 1;
// Leaves an agent room for what it may still hold of somebody else's.
constexpr size_t kChunk = 15 * 1024;

// How much of the picture's front goes into one request.
size_t ChunkSize(ByteView rest) {
  const size_t most = std::min(rest.size(), kChunk);
  size_t size = 0, run = 0, leading = 0;
  for (; size < most; size++) {
    run = rest[size] == kLetter ? run + 1 : 0;
    if (run > kLongestRun) break;
    if (run == size + 1) leading = run;
  }
  // The length field stands right in front. Its high byte is never a Z for a piece of this size.
  if ((size & 0xFF) == kLetter && leading == kLongestRun) size--;
  return size;
}

}  // namespace

std::vector<ByteView> PictureChunks(ByteView picture) {
  std::vector<ByteView> chunks;
  while (!picture.empty()) {
    const size_t size = ChunkSize(picture);
    chunks.push_back(picture.first(size));
    picture = picture.subspan(size);
  }
  return chunks;
}

}  // namespace brelix
