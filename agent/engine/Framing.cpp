// CAgentEngine, frames: decoding a request out of the received bytes, and making a frame of a module's reply body.
#include <cstring>

#include "agent/engine/AgentEngine.h"
#include "agent/engine/ReplyWriter.h"

bool CAgentEngine::CheckPacket() {
  const std::uint32_t length = m_receive.CutFrame(m_pktBuf);
  if (length == 0) {
    return false;
  }
  m_pktBufLen = length;
  m_moduleId = PacketU16(wire::kModuleAt);
  m_command = PacketU16(wire::kCommandAt);
  m_pktDataLen = PacketU16(wire::kDataLenAt);
  // Kept(packet-number-by-length-field): the number is read where the length field says the data ends, even when the
  // frame was cut before that; then it is whatever an earlier frame left in the buffer.
  m_pktNum = PacketU16(wire::kDataAt + m_pktDataLen);
  return true;
}

// Chosen: a field that would lie outside the packet buffer reads as 0.
std::uint32_t CAgentEngine::PacketU16(std::uint32_t at) const {
  return at + 2 <= m_pktBuf.size() ? static_cast<std::uint32_t>(m_pktBuf[at] << 8 | m_pktBuf[at + 1]) : 0;
}

void CAgentEngine::CompleteReply() {
  if (m_outBufLen == 0) {
    CReplyWriter reply({GetOutBuf(), wire::kBodyRoom}, m_outBufLen);
    reply.ModuleId(wire::kSystem);
    reply.U16(0);
    reply.Skip(2);
    reply.Send();
  }
  const std::uint32_t bodyLen = m_outBufLen;
  std::uint8_t* frame = m_outBuf.data();
  std::memmove(frame + wire::kMarkLen, frame, bodyLen);
  std::memset(frame, wire::kStartMark, wire::kMarkLen);
  std::uint8_t* tail = frame + wire::kMarkLen + bodyLen;
  tail[0] = static_cast<std::uint8_t>(m_pktNum >> 8);
  tail[1] = static_cast<std::uint8_t>(m_pktNum);
  std::memset(tail + 2, wire::kEndMark, wire::kMarkLen);
  m_outBufLen = bodyLen + wire::kFrameOverhead;
}

const std::uint8_t* CAgentEngine::GetPktBuf() const { return m_pktBuf.data(); }
std::uint32_t CAgentEngine::GetPktBufLen() const { return m_pktBufLen; }
std::uint32_t CAgentEngine::GetPktDataLen() const { return m_pktDataLen; }
std::uint32_t CAgentEngine::GetPktNum() const { return m_pktNum; }
std::uint8_t* CAgentEngine::GetOutBuf() { return m_outBuf.data(); }
std::uint32_t& CAgentEngine::GetOutBufLen() { return m_outBufLen; }
