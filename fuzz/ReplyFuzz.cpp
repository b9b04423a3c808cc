// The desktop's reading of a phone that says anything: frames in any pieces, and the documents in their data.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include "desktop/Document.h"
#include "desktop/Failure.h"
#include "desktop/FrameCodec.h"

namespace {

constexpr std::array<std::string_view, 4> kNames = {"cpumanufacturer", "cpumodel", "imei", "osversion"};

void ReadDocument(const brelix::Bytes& data) {
  try {
    const std::string_view text(reinterpret_cast<const char*>(data.data()), data.size());
    const brelix::Document document(text, "permanentinfo", kNames);
    for (const std::string_view name : kNames) {
      const auto value = document.Raw(name);
      if (value && value->size() > data.size()) std::abort();
      document.Text(name);
      document.Number(name);
    }
  } catch (const brelix::Failure&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size < 3) return 0;
  brelix::ReplyReader reader;
  reader.Expect(static_cast<std::uint16_t>(0xF000 | bytes[1]));
  const std::size_t piece = bytes[0] == 0 ? size : bytes[0];
  try {
    for (std::size_t at = 2; at < size; at += piece) {
      const std::size_t count = std::min(piece, size - at);
      reader.Feed({bytes + at, count});
      const bool last = at + count == size;
      while (const auto frame = reader.Next(last ? brelix::ReplyReader::LinkState::kQuiet
                                                 : brelix::ReplyReader::LinkState::kFlowing)) {
        if (frame->data.size() > size) std::abort();
        ReadDocument(frame->data);
      }
    }
  } catch (const brelix::Failure&) {
  }
  return 0;
}
