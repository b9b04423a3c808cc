// CAgentEngine, text codecs.
#include "agent/engine/Codecs.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "agent/engine/AgentEngine.h"
#include "agent/engine/ReplyWriter.h"

namespace {

constexpr char kBase64Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::int32_t kBase64LineBytes = 54;

}  // namespace

std::uint32_t CAgentEngine::Utf16ToUtf8(const char16_t* source, std::uint8_t* dest) {
  std::uint32_t count = 0;
  codecs::EncodeUtf8(source, [&](std::uint8_t byte) { dest[count++] = byte; });
  dest[count] = 0;
  return count;
}

std::uint32_t CAgentEngine::Utf8ToUtf16(const std::uint8_t* source, char16_t* dest, std::uint32_t capacity) {
  if (capacity == 0) {
    return 0;
  }
  return codecs::DecodeUtf8([source](std::uint32_t place) { return std::uint32_t{source[place]}; },
                            std::span(dest, capacity));
}

// Whole and broken groups of three bytes, no line breaks, no terminator.
std::uint32_t CAgentEngine::Base64Encode(char* dest, const std::uint8_t* source, std::int32_t length) {
  char* out = dest;
  for (std::int32_t at = 0; at < length; at += 3) {
    const std::int32_t have = std::min<std::int32_t>(3, length - at);
    std::uint32_t group = static_cast<std::uint32_t>(source[at]) << 16;
    group |= have > 1 ? static_cast<std::uint32_t>(source[at + 1]) << 8 : 0;
    group |= have > 2 ? static_cast<std::uint32_t>(source[at + 2]) : 0;
    *out++ = kBase64Alphabet[group >> 18];
    *out++ = kBase64Alphabet[group >> 12 & 0x3F];
    *out++ = have > 1 ? kBase64Alphabet[group >> 6 & 0x3F] : '=';
    *out++ = have > 2 ? kBase64Alphabet[group & 0x3F] : '=';
  }
  return static_cast<std::uint32_t>(out - dest);
}

std::uint32_t CAgentEngine::Base64EncodeBuf(char* dest, const std::uint8_t* source, std::int32_t /*ignored*/,
                                            std::int32_t length) {
  std::uint32_t count = 0;
  for (std::int32_t at = 0; at < length; at += kBase64LineBytes) {
    count += Base64Encode(dest + count, source + at, std::min(kBase64LineBytes, length - at));
    dest[count++] = '\r';
    dest[count++] = '\n';
  }
  dest[count] = 0;
  return count;
}

std::uint32_t CAgentEngine::GetToken(const char* source, char* dest, std::int32_t& pos, std::int32_t limit, bool tag) {
  const codecs::Token token = codecs::FindToken(source, pos, limit, tag);
  const std::int32_t length = token.end - token.begin;
  std::memcpy(dest, source + token.begin, static_cast<std::size_t>(length));
  dest[length] = 0;
  return static_cast<std::uint32_t>(token.end - std::exchange(pos, token.end));
}

bool CAgentEngine::CheckXmlHeader(const char* text) {
  for (const char expected : codecs::kXmlDeclaration) {
    if (*text++ != expected) {
      return false;
    }
  }
  return *text == 0;
}

std::uint32_t CAgentEngine::MakeXmlHeader(std::int32_t pos) {
  constexpr std::uint32_t kLength = codecs::kXmlDeclaration.size() + 1;
  if (pos < 0 || static_cast<std::uint32_t>(pos) + kLength + 1 > wire::kSendBufSize) {
    return 0;
  }
  std::uint32_t outLen = 0;
  CReplyWriter header(std::span<std::uint8_t>(m_outBuf).subspan(static_cast<std::uint32_t>(pos)), outLen);
  header.XmlHeader();
  header.U8(0);
  return kLength;
}
