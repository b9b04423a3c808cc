// The core of the agent: it owns the connection, the five modules, the Pocket Outlook object and the frame buffers, and
// runs the engine thread, which cuts requests out of the byte stream, passes each to its module and writes the reply
// back.
//
// The owner's calls, in order: constructor, Construct, Start; then, for a listening connection, Stop when it is time;
// WaitForExit (over the remote-API stream the thread ends when the stream closes); delete. Everything else runs on the
// engine thread. Only the stop request and the running flag are shared between the two.
#pragma once

#include <array>
#include <cstdint>

#include "agent/engine/ReceiveWindow.h"
#include "agent/engine/WireFormat.h"
#include "platform/Kernel.h"
#include "platform/PocketOutlook.h"

class CConnectionManager;
class CSystemModule;
class CCallLogModule;
class CAgendaModule;
class CContactsModule;
class CMessagingModule;

// The host program that runs an engine over a listening connection. Notify must stay the first virtual function.
class CBrelixAgent {
 public:
  enum : std::uint32_t { kSessionEnded = 105, kConnectionAccepted = 106 };
  virtual void Notify(std::uint32_t code) = 0;

 protected:
  ~CBrelixAgent() = default;
};

class CAgentEngine {
 public:
  // agent: null for the remote-API stream: one session, no listening. The engine owns the connection, not the agent.
  CAgentEngine(CBrelixAgent* agent, CConnectionManager* connection);
  ~CAgentEngine();

  // Logs on to Pocket Outlook, starts the modules and creates the engine thread, suspended. False leaves an error
  // record in the last-error slot, or none when the user declined to go on without a radio.
  bool Construct();
  // Starts the connection and resumes the thread.
  bool Start();
  // Asks the thread to stop, stops the connection and waits until the thread is not inside its body. A thread that was
  // resumed and has not come that far yet is not waited for: WaitForExit does that.
  bool Stop();
  // Asks the thread to stop, without waiting.
  void SignalDone();
  void WaitForExit();

  bool IsAllowed() const;
  void SetAllowed(bool allowed);
  bool IsOpened() const;
  void SetOpened(bool opened);
  CBrelixAgent* GetAgent() const;
  ce::IPOutlookApp* GetPOOM() const;

  // The last request: a copy of its frame from "XXXX" on, and its decoded fields.
  const std::uint8_t* GetPktBuf() const;
  std::uint32_t GetPktBufLen() const;
  std::uint32_t GetPktDataLen() const;
  std::uint32_t GetPktNum() const;

  // Where a module's reply body goes, and how long it is.
  std::uint8_t* GetOutBuf();
  std::uint32_t& GetOutBufLen();

  // Text codecs. dest must have room: three bytes per unit and one, for Utf16ToUtf8; four characters for three bytes,
  // two per 54 bytes and one, for Base64EncodeBuf; the consumed characters and one, for GetToken.

  // Returns the bytes written before the terminating 0.
  static std::uint32_t Utf16ToUtf8(const char16_t* source, std::uint8_t* dest);
  // Writes at most capacity units, the terminating 0 among them, and returns the source bytes consumed. Continuation
  // bytes are not checked: a lead byte just before the terminator takes the terminator as one, and goes on behind it.
  static std::uint32_t Utf8ToUtf16(const std::uint8_t* source, char16_t* dest, std::uint32_t capacity);
  // Lines of 72 characters, each ended by CR LF, the last one too. Returns the length of the terminated text.
  static std::uint32_t Base64EncodeBuf(char* dest, const std::uint8_t* source, std::int32_t ignored,
                                       std::int32_t length);
  // Reads one tag (leading white space skipped) or the text up to the next tag from source, from pos on, never at or
  // beyond limit. Returns how far pos moved.
  static std::uint32_t GetToken(const char* source, char* dest, std::int32_t& pos, std::int32_t limit, bool tag);
  // True when the text is exactly the XML declaration.
  static bool CheckXmlHeader(const char* text);
  // Writes the XML declaration, a line feed and a terminating 0 at GetOutBuf() + pos; returns 39, or 0 when it would
  // not fit and nothing was written.
  std::uint32_t MakeXmlHeader(std::int32_t pos);

 private:
  enum class Wait { kNothing, kDesktop, kEnded };
  enum class ReadResult { kNothing, kBytes, kSessionOver };

  bool InitPOOM();
  void ShutdownPOOM();
  bool StartSystemModule();
  bool ContinueWithoutRadio();
  template <class Module>
  bool StartModule(Module*& module);
  bool CreateEngineThread();

  static ce::DWORD ThreadProc(void* engine);
  void Run();
  Wait WaitForDesktop();
  void ServeSession();
  bool ServeOnce();
  ReadResult ReadMore();
  ReadResult ReadFailed();
  void ConnectionClosed();
  void EndSession();
  bool TakeStopRequest();

  bool CheckPacket();
  std::uint32_t PacketU16(std::uint32_t at) const;
  void Dispatch();
  void Refuse();
  void CompleteReply();
  bool WriteReply();

  static std::uint32_t Base64Encode(char* dest, const std::uint8_t* source, std::int32_t length);

  ce::LONG m_stopRequest = 0;
  ce::LONG m_running = 0;
  ce::HANDLE m_thread = ce::kNoHandle;
  ce::IPOutlookApp* m_poom = nullptr;
  CBrelixAgent* m_agent;
  CConnectionManager* m_connection;
  CSystemModule* m_system = nullptr;
  CCallLogModule* m_callLog = nullptr;
  CAgendaModule* m_agenda = nullptr;
  CContactsModule* m_contacts = nullptr;
  CMessagingModule* m_messaging = nullptr;
  bool m_allowed = false;
  bool m_opened = false;
  std::uint32_t m_outBufLen = 0;
  std::uint32_t m_pktBufLen = 0;
  std::uint32_t m_moduleId = 0;
  std::uint32_t m_command = 0;
  std::uint32_t m_pktNum = 0;
  std::uint32_t m_pktDataLen = 0;
  CReceiveWindow m_receive;
  std::array<std::uint8_t, wire::kSendBufSize> m_outBuf{};
  std::array<std::uint8_t, wire::kPacketBufSize> m_pktBuf{};
};
