// The only code that stores reply bytes. It writes a reply body (module id, command + 1, data length, data) into the
// engine's send buffer, never past the room it was given, and sets the engine's out length.
//
// Overflow is remembered, not reported append by append: Send() makes the one decision, and a reply that did not fit
// goes out as a bare result 0x8007000E. A reply that is never sent leaves the out length alone.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "agent/engine/Decimal.h"
#include "platform/Types.h"

class CReplyWriter {
 public:
  // room: the body's place in the send buffer; outLen: the engine's out length.
  CReplyWriter(std::span<std::uint8_t> room, std::uint32_t& outLen) : m_room(room), m_outLen(outLen) {}

  // The head of the body, in this order. Command() leaves the place of the data length open; Send() fills it.
  void ModuleId(std::uint16_t id) { U16(id); }
  void Command(std::uint16_t command);

  void U8(std::uint8_t value);
  void U16(std::uint16_t value);
  void U32(std::uint32_t value);

  void Text(std::string_view text);
  void Utf8(std::u16string_view text);      // as CAgentEngine::Utf16ToUtf8 converts
  void LowBytes(std::u16string_view text);  // one byte per unit, the high half dropped
  void Dec(std::int32_t value);
  void Dec(std::int32_t value, unsigned width);  // zero-filled
  void Unsigned(std::uint32_t value);
  void Timestamp(const ce::SYSTEMTIME& time);  // YYYYMMDDThhmmssZ
  void XmlHeader();                            // the XML declaration and a line feed

  // Leaves the next bytes as the send buffer held them.
  void Skip(std::uint32_t count);

  // How many data bytes were written, the result among them.
  std::uint32_t DataLen() const;
  // The room behind what was written, for a platform call to fill; Skip then counts what it filled.
  std::span<std::uint8_t> Rest() const { return m_room.subspan(m_used); }
  // Another result in place of the one that the data began with.
  void SetResult(std::uint32_t result);

  // Counts what was written: data length (its low 16 bits) and out length agree.
  void Send();
  // For the few replies whose counts are not what was written.
  void SendCounted(std::uint16_t dataLen, std::uint32_t outLen);
  // A reply that is one 32-bit result; data written before is dropped.
  void SendResult(std::uint32_t result);
  // The same with the data length left as the send buffer held it.
  void SendResultUncounted(std::uint32_t result);

 private:
  void Decimal(const CDecimal& decimal, unsigned width);
  void StoreU16(std::uint32_t at, std::uint16_t value);
  void StoreU32(std::uint32_t at, std::uint32_t value);
  bool Take(std::uint32_t count);

  std::span<std::uint8_t> m_room;
  std::uint32_t& m_outLen;
  std::uint32_t m_used = 0;
  bool m_overflowed = false;
};
