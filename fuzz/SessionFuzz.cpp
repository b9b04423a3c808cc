// A whole agent on a handset, fed with whatever desktops might say. The first byte chooses how: in what pieces the
// bytes come, whether the session is opened already, whether replies are taken in pieces, whether memory runs out
// (after as many allocations as the second byte says), and whether the agent listens: then the bytes are shared by two
// sessions. It also chooses whether the collections of contacts and appointments are open already, and a folder with
// messages selected.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "agent/engine/AgentEngine.h"
#include "agent/engine/ErrorRecord.h"
#include "agent/transport/ConnectionManager.h"
#include "handset/Faults.h"
#include "handset/Handset.h"
#include "handset/Ledger.h"
#include "handset/system/Clock.h"
#include "handset/system/MessageBoxes.h"
#include "platform/Com.h"
#include "tests/support/WaitingDesktops.h"

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kSessionOpening = 32;  // so much of it opens the session, then the collections, then a folder
constexpr std::size_t kItemsOpening = 64;
constexpr char kOpening[] =
    "XXXX\0\1\0\xF7\0\0\0\1ZZZZXXXX\0\1\0\1\0\0\0\2ZZZZ"
    "XXXX\0\3\0\1\0\0\0\3ZZZZXXXX\0\4\0\1\0\0\0\4ZZZZ"
    "XXXX\0\6\0\1\0\2A\0\0\5ZZZZXXXX\0\6\0\5\0\2F\0\0\6ZZZZ";

class CFuzzConnection final : public CConnectionManager {
 public:
  CFuzzConnection(Bytes data, std::size_t piece, std::size_t opening, bool partialWrites, ce::SOCKET listening)
      : m_data(data),
        m_left(listening == ce::INVALID_SOCKET ? 0 : data.size() / 2),
        m_opening(reinterpret_cast<const std::uint8_t*>(kOpening), opening),
        m_piece(piece),
        m_partialWrites(partialWrites) {
    SetListeningSocket(listening);
  }
  // Whom to stop when the bytes are used up.
  void Serve(CAgentEngine& engine) { m_engine = &engine; }
  bool Start() override { return true; }
  bool Stop() override { return true; }

  bool Read(std::uint8_t* buffer, std::int32_t& count, std::int32_t size) override {
    Bytes& from = m_opening.empty() ? m_data : m_opening;
    if (size <= 0) std::abort();                                     // the engine must always have room
    if (m_left != 0 && &from == &m_data && from.size() <= m_left) {  // the first desktop leaves
      m_left = 0;
      count = kConnectionClosed;
      return true;
    }
    if (from.empty()) {
      if (m_engine != nullptr) m_engine->SignalDone();
      count = kConnectionClosed;
      return true;
    }
    const std::size_t given = std::min({from.size(), m_piece, static_cast<std::size_t>(size)});
    std::copy_n(from.data(), given, buffer);
    from = from.subspan(given);
    count = static_cast<std::int32_t>(given);
    return true;
  }

  bool Write(const std::uint8_t* buffer, std::int32_t& count, std::int32_t size) override {
    if (size < 16 || size > static_cast<std::int32_t>(wire::kSendBufSize)) {
      if (!m_partialWrites) std::abort();  // no reply is shorter than a frame without data
    }
    // A whole reply is well framed.
    if (!m_partialWrites &&
        (buffer[0] != 'X' || buffer[3] != 'X' || buffer[size - 1] != 'Z' || buffer[size - 4] != 'Z')) {
      std::abort();
    }
    count = m_partialWrites ? std::max(1, size / 3) : size;
    return true;
  }

 private:
  CAgentEngine* m_engine = nullptr;
  Bytes m_data;
  std::size_t m_left;  // so many bytes are for the second desktop
  Bytes m_opening;
  std::size_t m_piece;
  bool m_partialWrites;
};

constexpr const char* kPhone = R"({
  "lines": [{ "name": "Cellular Line", "serialNumber": "1234567890" }],
  "contacts": [
    { "oid": 5, "FirstName": "Ann", "FileAs": "Ann", "NickName": "A", "Picture": "/9j/4AAQSkZJRg==" },
    { "oid": 6, "Body": null }],
  "appointments": [
    { "oid": 7, "Start": "2020-03-02T09:30:00", "Subject": "s", "BusyStatus": 9, "Recurrence": { "RecurrenceType": 4 } },
    { "oid": 8, "Start": "2020-03-02T09:30:00", "Recurrence": { "RecurrenceType": 6, "Occurrences": 3 } }],
  "calls": [
    { "start": "2009-07-12T09:00:00Z", "direction": 7, "callerId": 9, "number": "+1", "name": "n", "note": "x" },
    { "start": "2009-07-11T09:00:00Z", "direction": "outgoing", "phoneType": "m" }],
  "accounts": [{ "name": "A", "folders": [{ "name": "F", "messages": [
    { "sender": { "name": "s", "address": "\"q\" <a>" }, "subject": "in", "delivered": "2009-07-12T00:00:00Z" },
    { "recipients": [{ "name": "r", "address": "b" }, {}], "subject": "out" }] }] }, { "name": "B" }],
  "sms": { "delivery": [{ "to": "1", "refused": "0x82000107" }] } })";
constexpr int kMostRuns = 1000;

// One phone for many runs, and a new one before what they leave in it becomes too much.
class FuzzPhone {
 public:
  FuzzPhone() {
    std::string folder = (std::filesystem::temp_directory_path() / "brelix-fuzz-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) std::abort();
    handset::Handset::Init(folder + "/phone", nlohmann::json::parse(kPhone));
    m_phone = handset::Handset::Open(folder + "/phone");
    m_current.emplace(*m_phone);
    m_phone->SetThreads(handset::Threads::kInline);
    m_phone->GetClock().UseVirtualTime(std::chrono::microseconds(0));
    m_phone->GetMessageBoxes().SetSilent(true);
    ce::CoInitializeEx(nullptr, ce::COINIT_MULTITHREADED);
    std::filesystem::remove_all(folder);
  }
  ~FuzzPhone() { ce::CoUninitialize(); }
  FuzzPhone(const FuzzPhone&) = delete;
  FuzzPhone& operator=(const FuzzPhone&) = delete;

  handset::Handset& Get() { return *m_phone; }
  bool IsUsedUp() { return ++m_runs > kMostRuns; }

 private:
  std::unique_ptr<handset::Handset> m_phone;
  std::optional<handset::CurrentPhone> m_current;
  int m_runs = 0;
};

handset::Handset& Phone() {
  static std::unique_ptr<FuzzPhone> phone;
  if (phone == nullptr || phone->IsUsedUp()) {
    phone.reset();
    phone = std::make_unique<FuzzPhone>();
  }
  return phone->Get();
}

class FuzzAgent final : public CBrelixAgent {
 public:
  void Notify(std::uint32_t) override {}
};

void RunSession(Bytes data, std::uint8_t how, ce::SOCKET listening) {
  constexpr std::size_t kPieces[] = {1, 7, 64, 16384};
  const std::size_t opening = (how & 4) == 0     ? 0
                              : (how & 64) == 0  ? kSessionOpening
                              : (how & 128) == 0 ? kItemsOpening
                                                 : sizeof kOpening - 1;
  auto* connection = new CFuzzConnection(data, kPieces[how & 3], opening, (how & 8) != 0, listening);
  FuzzAgent agent;
  const bool listens = listening != ce::INVALID_SOCKET;
  if (listens && !connection->Construct()) std::abort();
  const auto engine = std::make_unique<CAgentEngine>(listens ? &agent : nullptr, connection);
  if (listens) connection->Serve(*engine);
  if (engine->Construct() && engine->Start()) {
    engine->WaitForExit();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  handset::Handset& phone = Phone();
  if (size < 2) return 0;
  const std::uint8_t how = bytes[0];
  const Bytes data = Bytes(bytes, size).subspan(2);
  if ((how & 16) != 0) phone.GetFaults().Add({"LocalAlloc", {}, bytes[1], 1});
  if ((how & 32) != 0) {
    const test::WaitingDesktops desktops(phone, 2);
    RunSession(data, how, desktops.Listening());
  } else {
    RunSession(data, how, ce::INVALID_SOCKET);
  }
  DropLastApiError();
  phone.GetFaults().Clear();
  phone.GetMessageBoxes().ClearLog();
  // Looking at the lines may have failed for want of memory: then the line application stays open.
  if (!phone.GetLedger().EmptyExcept({handset::Held::kComStart, handset::Held::kLineApp})) std::abort();
  return 0;
}
