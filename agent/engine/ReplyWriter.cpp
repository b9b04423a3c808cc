#include "agent/engine/ReplyWriter.h"

#include <cstring>

#include "agent/engine/Codecs.h"
#include "agent/engine/WireFormat.h"

namespace {

constexpr std::uint32_t kDataLenAt = 4;

}  // namespace

// The one test of bounds: true when count more bytes fit. An append that does not fit writes nothing, and neither does
// any after it.
bool CReplyWriter::Take(std::uint32_t count) {
  if (m_overflowed || count > m_room.size() - m_used) {
    m_overflowed = true;
    return false;
  }
  m_used += count;
  return true;
}

void CReplyWriter::Skip(std::uint32_t count) { Take(count); }

void CReplyWriter::U8(std::uint8_t value) {
  if (Take(1)) {
    m_room[m_used - 1] = value;
  }
}

void CReplyWriter::U16(std::uint16_t value) {
  if (Take(2)) {
    StoreU16(m_used - 2, value);
  }
}

void CReplyWriter::U32(std::uint32_t value) {
  if (Take(4)) {
    StoreU32(m_used - 4, value);
  }
}

std::uint32_t CReplyWriter::DataLen() const { return m_used - wire::kBodyDataAt; }

void CReplyWriter::SetResult(std::uint32_t result) { StoreU32(wire::kBodyDataAt, result); }

void CReplyWriter::StoreU32(std::uint32_t at, std::uint32_t value) {
  StoreU16(at, static_cast<std::uint16_t>(value >> 16));
  StoreU16(at + 2, static_cast<std::uint16_t>(value));
}

void CReplyWriter::StoreU16(std::uint32_t at, std::uint16_t value) {
  m_room[at] = static_cast<std::uint8_t>(value >> 8);
  m_room[at + 1] = static_cast<std::uint8_t>(value);
}

void CReplyWriter::Command(std::uint16_t command) {
  U16(command);
  Skip(2);
}

void CReplyWriter::Text(std::string_view text) {
  const auto size = static_cast<std::uint32_t>(text.size());
  if (Take(size)) {
    std::memcpy(m_room.data() + m_used - size, text.data(), size);
  }
}

void CReplyWriter::Utf8(std::u16string_view text) {
  codecs::EncodeUtf8(text, [this](std::uint8_t byte) { U8(byte); });
}

void CReplyWriter::LowBytes(std::u16string_view text) {
  for (const char16_t unit : text) {
    U8(static_cast<std::uint8_t>(unit));
  }
}

void CReplyWriter::Dec(std::int32_t value) { Dec(value, 1); }

void CReplyWriter::Dec(std::int32_t value, unsigned width) { Decimal(CDecimal(value), width); }

void CReplyWriter::Unsigned(std::uint32_t value) { Decimal(CDecimal::Unsigned(value), 1); }

void CReplyWriter::Decimal(const CDecimal& decimal, unsigned width) {
  if (decimal.IsNegative()) {
    U8('-');
  }
  for (std::size_t zeros = decimal.Digits().size(); zeros < width; ++zeros) {
    U8('0');
  }
  Text(decimal.Digits());
}

void CReplyWriter::Timestamp(const ce::SYSTEMTIME& time) {
  Dec(time.wYear, 4);
  Dec(time.wMonth, 2);
  Dec(time.wDay, 2);
  U8('T');
  Dec(time.wHour, 2);
  Dec(time.wMinute, 2);
  Dec(time.wSecond, 2);
  U8('Z');
}

void CReplyWriter::XmlHeader() {
  Text(codecs::kXmlDeclaration);
  U8('\n');
}

void CReplyWriter::Send() { SendCounted(static_cast<std::uint16_t>(m_used - wire::kBodyDataAt), m_used); }

void CReplyWriter::SendCounted(std::uint16_t dataLen, std::uint32_t outLen) {
  if (m_overflowed) {
    SendResult(wire::kResultTooLarge);
    return;
  }
  StoreU16(kDataLenAt, dataLen);
  m_outLen = outLen;
}

void CReplyWriter::SendResult(std::uint32_t result) {
  m_overflowed = false;
  m_used = wire::kBodyDataAt;
  U32(result);
  Send();
}

void CReplyWriter::SendResultUncounted(std::uint32_t result) {
  U32(result);
  m_outLen = m_used;
}
