#include "tests/support/ScriptedConnection.h"

#include <algorithm>
#include <utility>

#include "agent/engine/ErrorRecord.h"

namespace test {

CScriptedConnection::CScriptedConnection(Script& script, ce::SOCKET listening) : m_script(script) {
  SetListeningSocket(listening);
}

CScriptedConnection::~CScriptedConnection() = default;

bool CScriptedConnection::Start() { return m_script.startAnswer; }
bool CScriptedConnection::Stop() { return m_script.stopAnswer; }

bool CScriptedConnection::Read(std::uint8_t* buffer, std::int32_t& count, std::int32_t size) {
  m_script.readSizes.push_back(size);
  count = 0;
  if (m_script.reads.empty()) {
    count = kConnectionClosed;
    return true;
  }
  Script::Read& read = m_script.reads.front();
  if (read.before) std::exchange(read.before, {})();
  if (read.kind == Script::Read::Kind::kBytes) {
    count = std::min<std::int32_t>(size, static_cast<std::int32_t>(read.bytes.size()));
    std::copy_n(read.bytes.begin(), count, buffer);
    read.bytes.erase(read.bytes.begin(), read.bytes.begin() + count);
    if (read.bytes.empty()) m_script.reads.pop_front();
    return true;
  }
  const Script::Read ended = std::exchange(read, {});
  m_script.reads.pop_front();
  if (ended.kind == Script::Read::Kind::kFailed) {
    if (ended.withRecord) Fail(u"recv", 10050);
    return false;
  }
  if (ended.kind == Script::Read::Kind::kClosed) count = kConnectionClosed;
  return true;
}

bool CScriptedConnection::Write(const std::uint8_t* buffer, std::int32_t& count, std::int32_t size) {
  m_script.writeSizes.push_back(size);
  count = size;
  if (!m_script.writes.empty()) {
    const Script::Write write = m_script.writes.front();
    m_script.writes.pop_front();
    switch (write.kind) {
      case Script::Write::Kind::kCount:
        count = std::min(write.count, size);
        break;
      case Script::Write::Kind::kClosed:
        count = kConnectionClosed;
        return true;
      case Script::Write::Kind::kFailed:
        count = 0;
        return Fail(u"send", 10050);
      case Script::Write::Kind::kFailedClosed:
        count = kConnectionClosed;
        return Fail(u"send", 10050);
    }
  }
  m_script.sent.insert(m_script.sent.end(), buffer, buffer + count);
  return true;
}

}  // namespace test
