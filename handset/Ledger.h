// What the phone handed out and has not got back: handles, references, blocks of memory, starts without a stop.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace handset {

enum class Held : std::uint8_t {
  kThread,
  kRegistryKey,
  kLineApp,
  kLine,
  kSocket,
  kCallLog,
  kFile,
  kFileListing,
  kComReference,
  kHeapBlock,
  kSystemString,
  kWinsockStart,
  kComStart,
  kMapiStart,
  kMapiLogon,
  kPoomLogon,
  kMapiBuffer,
  kMapiRows,
  kSmsHandle,
  kServiceRecord,
};

// May be used from any thread.
class Ledger {
 public:
  // Counts one more; the same thing can be held more than once.
  void Hold(Held kind, std::uint64_t id, std::string what = {});
  // False when it was not held.
  bool Drop(Held kind, std::uint64_t id);
  // The holder offered the thing back and a fault rule made the phone refuse: it is still there, yet no longer the
  // holder's debt, so nothing below counts it.
  void Refuse(Held kind, std::uint64_t id);
  // A number no other thing of this ledger has.
  std::uint64_t NextId();

  std::uint64_t Count(Held kind) const;
  bool Empty() const { return EmptyExcept({}); }
  bool EmptyExcept(std::initializer_list<Held> expected) const;
  // One line each, such as "registry key 4100: HKLM\System" or "COM reference 7: IFolder (2 times)".
  std::vector<std::string> List() const;
  // The lines of List, for the message of a failed expectation.
  std::string Text() const;

 private:
  struct Entry {
    std::string what;
    std::uint64_t count = 0;
    bool refused = false;
  };

  mutable std::mutex m_mutex;
  std::map<std::pair<Held, std::uint64_t>, Entry> m_entries;
  std::uint64_t m_lastId = 0;
};

}  // namespace handset
