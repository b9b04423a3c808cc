// A connection that gives the engine what a script says, and writes down what the engine does with it. The script is
// the test's, so that it outlives the engine, which owns the connection.
#pragma once

#include <deque>
#include <functional>

#include "agent/transport/ConnectionManager.h"
#include "tests/support/Bytes.h"

namespace test {

struct Script {
  struct Read {
    enum class Kind { kBytes, kNothing, kClosed, kFailed } kind = Kind::kBytes;
    Bytes bytes;
    bool withRecord = true;             // of a failure
    std::function<void()> before = {};  // runs when the engine asks
  };
  struct Write {
    enum class Kind { kCount, kClosed, kFailed, kFailedClosed } kind = Kind::kCount;
    std::int32_t count = 0;
  };

  // Reads give at most what is asked for; a chunk's rest comes with the next read. After the last one: closed.
  std::deque<Read> reads;
  // Writes beyond the last one take everything.
  std::deque<Write> writes;
  bool startAnswer = true;
  bool stopAnswer = true;

  std::vector<std::int32_t> readSizes;
  std::vector<std::int32_t> writeSizes;
  Bytes sent;

  Script& Give(Bytes bytes) {
    reads.push_back({Read::Kind::kBytes, std::move(bytes)});
    return *this;
  }
  Script& Give(Read::Kind kind, std::function<void()> before = {}, bool withRecord = true) {
    reads.push_back({kind, {}, withRecord, std::move(before)});
    return *this;
  }
};

class CScriptedConnection : public CConnectionManager {
 public:
  explicit CScriptedConnection(Script& script, ce::SOCKET listening = ce::INVALID_SOCKET);
  ~CScriptedConnection() override;
  bool Start() override;
  bool Stop() override;
  bool Read(std::uint8_t* buffer, std::int32_t& count, std::int32_t size) override;
  bool Write(const std::uint8_t* buffer, std::int32_t& count, std::int32_t size) override;

 private:
  Script& m_script;
};

}  // namespace test
