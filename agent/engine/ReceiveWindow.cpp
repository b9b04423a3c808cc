#include "agent/engine/ReceiveWindow.h"

#include <cstring>

std::span<std::uint8_t> CReceiveWindow::Room() {
  if (m_first > wire::kReceiveBufSize) {
    std::memmove(m_area.data(), Bytes(), m_held);
    m_first = 0;
  }
  return {Bytes() + m_held, wire::kReceiveBufSize - m_held};
}

bool CReceiveWindow::MarkAt(std::uint32_t at, std::uint8_t mark) const {
  const std::uint8_t* bytes = Bytes() + at;
  return bytes[0] == mark && bytes[1] == mark && bytes[2] == mark && bytes[3] == mark;
}

// Consumes bytes from the front; what was learned about places no longer holds.
void CReceiveWindow::Drop(std::uint32_t count) {
  m_first += count;
  m_held -= count;
  m_runAt = 0;
  m_endAt = wire::kMarkLen;
}

// Four bytes stay, so that a start mark that is split over two reads is not lost.
bool CReceiveWindow::DropAllButLast4() {
  Drop(m_held - wire::kMarkLen);
  return false;
}

std::uint32_t CReceiveWindow::CutFrame(std::span<std::uint8_t, wire::kPacketBufSize> packet) {
  if (m_held < wire::kShortestFrame || !FindStart()) {
    return 0;
  }
  if (!FindEnd()) {
    if (m_held == wire::kReceiveBufSize) {
      // Chosen: a full buffer without a frame could never take another byte; dropping it lets the session recover.
      DropAllButLast4();
    }
    return 0;
  }
  const std::uint32_t length = m_endAt + wire::kMarkLen;
  std::memcpy(packet.data(), Bytes(), length);
  const std::uint32_t runAt = m_runAt;
  Drop(length);
  if (runAt > length) {  // a frame out of the garbage in front of the run: the run stays known
    m_runAt = runAt - length;
  }
  return length;
}

// Brings the last start mark of the first run of marks to the front. False when a frame cannot begin yet.
bool CReceiveWindow::FindStart() {
  if (m_runAt == 0) {
    std::uint32_t at = 0;
    while (at + wire::kMarkLen <= m_held && !MarkAt(at, wire::kStartMark)) {
      ++at;
    }
    if (at + wire::kMarkLen > m_held) {
      return DropAllButLast4();
    }
    m_runAt = at + 1;
    m_endAt = wire::kMarkLen;
  }
  while (m_runAt + wire::kMarkLen <= m_held && MarkAt(m_runAt, wire::kStartMark)) {
    ++m_runAt;
  }
  // Kept(garbage-before-open-run-stays): while the run of marks reaches the end of what is held, nothing in front of it
  // is dropped, and an end mark found there cuts a frame out of the garbage. Do not drop it early.
  const bool runReachesEnd = m_runAt + wire::kMarkLen > m_held;
  if (runReachesEnd || m_runAt == 1) {
    return true;
  }
  Drop(m_runAt - 1);
  m_runAt = 1;
  return m_held >= wire::kShortestFrame;
}

// Kept(first-end-mark-cuts): the data length field is not asked; "ZZZZ" inside the data ends the frame there, and the
// rest is skipped as garbage later.
bool CReceiveWindow::FindEnd() {
  while (m_endAt + wire::kMarkLen <= m_held && !MarkAt(m_endAt, wire::kEndMark)) {
    ++m_endAt;
  }
  return m_endAt + wire::kMarkLen <= m_held;
}
