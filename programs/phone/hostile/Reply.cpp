#include "programs/phone/hostile/Reply.h"

namespace brelix_phone::hostile {
namespace {

constexpr std::size_t kHeader = 10;  // mark, module, command, length
constexpr std::size_t kTrailer = 6;  // number, mark

}  // namespace

std::uint32_t Number(std::string_view bytes) {
  std::uint32_t value = 0;
  for (const char byte : bytes) value = value << 8 | static_cast<std::uint8_t>(byte);
  return value;
}

std::string Bytes(std::uint32_t value, int width) {
  std::string bytes;
  for (int at = width - 1; at >= 0; --at) bytes += static_cast<char>(value >> (8 * at));
  return bytes;
}

Reply Reply::Of(std::span<const std::uint8_t> frame) {
  const std::string_view text(reinterpret_cast<const char*>(frame.data()), frame.size());
  Reply reply;
  if (text.size() < kHeader + kTrailer) return reply;
  reply.module = static_cast<std::uint16_t>(Number(text.substr(4, 2)));
  reply.command = static_cast<std::uint16_t>(Number(text.substr(6, 2)));
  reply.number = static_cast<std::uint16_t>(Number(text.substr(text.size() - kTrailer, 2)));
  reply.data = text.substr(kHeader, text.size() - kHeader - kTrailer);
  return reply;
}

std::string Reply::Frame(std::uint16_t lengthField) const {
  std::string frame(kStart);
  frame += Bytes(module, 2) + Bytes(command, 2) + Bytes(lengthField, 2);
  frame += data;
  frame += Bytes(number, 2);
  return frame += kEnd;
}

std::uint32_t Reply::Result() const {
  return data.size() < 4 ? 0xFFFFFFFFu : Number(std::string_view(data).substr(0, 4));
}

void Reply::SetResult(std::uint32_t result) { data.replace(0, 4, Bytes(result, 4)); }

}  // namespace brelix_phone::hostile
