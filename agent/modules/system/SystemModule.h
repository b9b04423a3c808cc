// Module 1: the session (handshake, open, close, exit), the radio's identity, the two device documents, and reading of
// the phone's folders, files and registry.
#pragma once

#include <array>
#include <span>

#include "agent/modules/pim/AgentModule.h"
#include "agent/modules/system/RadioIdentity.h"
#include "platform/Files.h"

class CSystemModule : public CAgentModule {
 public:
  explicit CSystemModule(CAgentEngine& engine) : CAgentModule(engine) {}

  // Queries the radio and reads the storage-card folder. False when the radio query failed; the module can be served
  // all the same, with empty texts.
  bool Construct();
  void HandleCommand(std::int32_t command) override;

 private:
  // Session
  void OpenSession(CReplyWriter& reply);
  void CloseSession(CReplyWriter& reply);
  void Handshake(CReplyWriter& reply);
  void Exit(CReplyWriter& reply);

  // Identity
  void SerialNumber(CReplyWriter& reply);
  void SubscriberNumber(CReplyWriter& reply);

  // Documents: DeviceInfo.cpp
  void PermanentInfo(CReplyWriter& reply);
  void VolatileInfo(CReplyWriter& reply);

  // Folders: FileListing.cpp
  void OpenListing(CReplyWriter& reply);
  void NextListingPart(CReplyWriter& reply);
  void FileDetails(CReplyWriter& reply);
  void WriteMatch(CReplyWriter& reply) const;

  // Files: FileAccess.cpp
  void OpenFile(CReplyWriter& reply);
  void ReadChunk(CReplyWriter& reply);
  void CloseFile(CReplyWriter& reply);
  bool CloseOpenHandle(CReplyWriter& reply);

  // Registry: RegistryAccess.cpp
  void EnumerateKeys(CReplyWriter& reply);
  void EnumerateValues(CReplyWriter& reply);
  void ReadValue(CReplyWriter& reply);

  void ReadCardFolder();
  std::u16string_view CardFolder() const;
  // What stands in front of the area's terminator.
  static std::u16string_view TextIn(std::span<const char16_t> area);
  // The text of the request, in m_path.
  std::u16string_view TakePath();

  // Kept(handle-outlives-session): the open handle is closed by a command only, not with the session, and not with the
  // module either.
  enum class HandleKind : std::uint8_t { kFile, kFind };

  CRadioIdentity m_radio;
  std::array<char16_t, 256> m_cardFolder{};        // empty when the phone has none
  ce::HANDLE m_handle = ce::INVALID_HANDLE_VALUE;  // the one listing or file that is open
  HandleKind m_handleKind = HandleKind::kFile;
  std::array<char16_t, ce::MAX_PATH + 1> m_folder{};  // of the last listing, with its last backslash
  ce::DWORD m_folderAttributes = 0;
  ce::SYSTEMTIME m_folderTime{};
  ce::WIN32_FIND_DATAW m_match{};
  std::array<char16_t, 8192> m_path{};   // of the request, and names of the registry
  std::array<char16_t, 4096> m_value{};  // of the registry, 8192 bytes
};
