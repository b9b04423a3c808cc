// Module 3: the phone's contacts.
#pragma once

#include <memory>

#include "agent/modules/pim/ItemModule.h"
#include "platform/Contact.h"

class CContactsModule : public CItemModule {
 public:
  explicit CContactsModule(CAgentEngine& engine) : CItemModule(engine) {}
  bool Construct() { return OpenFolder(ce::olFolderContacts); }
  void HandleCommand(std::int32_t command) override;

 private:
  void GetContactXml(CReplyWriter& reply);
  void DeleteContact(CReplyWriter& reply);
  void SetContactXml(CReplyWriter& reply);
  void AppendPictureData(CReplyWriter& reply);
  void SetContactPicture(CReplyWriter& reply);

  ce::HRESULT FindContact(std::uint32_t oid, CComReference<ce::IContact>& contact);
  std::uint32_t ChangeContact(ce::IContact& contact, std::span<const std::uint8_t> document, std::uint32_t& oid);
  std::uint32_t StorePicture(std::uint32_t oid);
  ce::HRESULT WriteUpload(ce::IStream& stream);
  void DropUpload();

  std::uint32_t m_cbUpload = 0;
  std::unique_ptr<std::uint8_t[]> m_pUpload;  // null until the first chunk
};
