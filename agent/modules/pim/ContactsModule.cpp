#include "agent/modules/pim/ContactsModule.h"

#include <cstring>
#include <new>
#include <utility>

#include "agent/modules/pim/ContactRecord.h"

namespace {

constexpr std::uint32_t kUploadRoom = 524288;
constexpr std::size_t kOidSize = 4;

}  // namespace

void CContactsModule::HandleCommand(std::int32_t command) {
  static constexpr Command<CContactsModule> kCommands[] = {
      {1, &CContactsModule::OpenItems},          {3, &CContactsModule::CloseItems},
      {5, &CContactsModule::GetItemCount},       {9, &CContactsModule::GetContactXml},
      {11, &CContactsModule::DeleteContact},     {13, &CContactsModule::SetContactXml},
      {15, &CContactsModule::AppendPictureData}, {17, &CContactsModule::SetContactPicture},
  };
  static_assert(Rises(kCommands, std::size(kCommands)));
  Dispatch(wire::kContacts, kCommands, command);
}

void CContactsModule::GetContactXml(CReplyWriter& reply) {
  const CComReference<ce::IDispatch> item = GetRequestedItem(reply);
  if (!item) {
    return;
  }
  CContactRecord record;
  if (const ce::HRESULT result = record.Fill(static_cast<ce::IContact&>(*item)); result != ce::S_OK) {
    return reply.SendResult(static_cast<std::uint32_t>(result));
  }
  record.Write(reply);
  reply.Send();
}

// An item of the phone by its id. Chosen: one that is no contact is answered as the phone answers the question whether
// it is one; to take an appointment for a contact would call it at the wrong places. The contact stays null when the
// phone says 0 and gives nothing.
ce::HRESULT CContactsModule::FindContact(std::uint32_t oid, CComReference<ce::IContact>& contact) {
  CComReference<ce::IDispatch> item;
  const ce::HRESULT result = m_pEngine->GetPOOM()->GetItemFromOid(static_cast<ce::LONG>(oid), item.Receive());
  return result < 0 || !item ? result : contact.Query(*item, ce::IID_IContact);
}

// Chosen: a lookup that succeeds and finds nothing is refused.
void CContactsModule::DeleteContact(CReplyWriter& reply) {
  const std::span<const std::uint8_t> data = RequestData();
  if (data.size() != kOidSize) {
    return reply.SendResult(wire::kResultRefused);
  }
  CComReference<ce::IContact> contact;
  ce::HRESULT result = FindContact(wire::ReadU32(data.data()), contact);
  if (contact) {
    result = contact->Delete();
  }
  reply.SendResult(contact || result < 0 ? static_cast<std::uint32_t>(result) : wire::kResultRefused);
}

// Chosen: a new contact without an open collection is refused.
void CContactsModule::SetContactXml(CReplyWriter& reply) {
  const std::span<const std::uint8_t> data = RequestData();
  if (data.size() <= kOidSize) {
    return reply.SendResult(wire::kResultRefused);
  }
  std::uint32_t oid = wire::ReadU32(data.data());
  CComReference<ce::IContact> contact;
  ce::HRESULT found = ce::S_OK;
  if (oid != 0) {
    found = FindContact(oid, contact);
  } else if (m_pItems != nullptr) {
    CComReference<ce::IDispatch> item;
    found = m_pItems->Add(item.Receive());
    contact.Take<ce::IDispatch>(std::move(item));
  } else {
    return reply.SendResult(wire::kResultRefused);
  }
  if (found < 0) {
    return reply.SendResult(static_cast<std::uint32_t>(found));
  }
  // Kept(oid-echoed-without-contact): a phone that says 0 and gives no contact makes this a success that changed
  // nothing.
  if (contact) {
    if (const std::uint32_t result = ChangeContact(*contact, data.subspan(kOidSize), oid); result != wire::kResultOk) {
      return reply.SendResult(result);
    }
  }
  reply.U32(wire::kResultOk);
  reply.U32(oid);
  reply.Send();
}

// Answers the result of the request, and the contact's id as it is afterwards.
std::uint32_t CContactsModule::ChangeContact(ce::IContact& contact, std::span<const std::uint8_t> document,
                                             std::uint32_t& oid) {
  CContactRecord record;
  if (!record.Read(document)) {
    return wire::kResultRefused;
  }
  ce::LONG id = 0;
  ce::HRESULT result = record.Apply(contact);
  if (result == ce::S_OK) {
    result = contact.get_Oid(&id);
  }
  oid = static_cast<std::uint32_t>(id);
  return static_cast<std::uint32_t>(result);
}

// Chosen: a chunk that does not fit behind those before it is refused, and the upload stays as it is.
void CContactsModule::AppendPictureData(CReplyWriter& reply) {
  const std::span<const std::uint8_t> chunk = RequestData();
  if (!chunk.empty()) {
    if (!m_pUpload) {
      m_pUpload.reset(new (std::nothrow) std::uint8_t[kUploadRoom]);
    }
    if (!m_pUpload) {
      DropUpload();
      return reply.SendResult(static_cast<std::uint32_t>(ce::E_OUTOFMEMORY));
    }
    if (chunk.size() > kUploadRoom - m_cbUpload) {
      return reply.SendResult(static_cast<std::uint32_t>(ce::E_OUTOFMEMORY));
    }
    std::memcpy(m_pUpload.get() + m_cbUpload, chunk.data(), chunk.size());
    m_cbUpload += static_cast<std::uint32_t>(chunk.size());
  }
  reply.SendResult(wire::kResultOk);
}

// The upload is used up, whatever comes of it.
void CContactsModule::SetContactPicture(CReplyWriter& reply) {
  const std::span<const std::uint8_t> data = RequestData();
  reply.SendResult(data.size() == kOidSize ? StorePicture(wire::ReadU32(data.data())) : wire::kResultRefused);
  DropUpload();
}

std::uint32_t CContactsModule::StorePicture(std::uint32_t oid) {
  CComReference<ce::IDispatch> contact;
  if (m_pEngine->GetPOOM()->GetItemFromOid(static_cast<ce::LONG>(oid), contact.Receive()) < 0 || !contact) {
    return wire::kResultRefused;
  }
  CComReference<ce::IItem> item;
  ce::HRESULT result = item.Query(*contact, ce::IID_IItem);
  if (result < 0 || !item) {
    return result < 0 ? static_cast<std::uint32_t>(result) : wire::kResultOk;
  }
  CComReference<ce::IStream> stream;
  result = item->OpenProperty(ce::PIMPR_PICTURE, ce::GENERIC_WRITE, stream.Receive());
  if (result >= 0 && stream) {
    result = WriteUpload(*stream);
    stream->Commit(0);
    stream.Reset();
  }
  item->Save();
  return static_cast<std::uint32_t>(result);
}

// A picture without bytes is none.
ce::HRESULT CContactsModule::WriteUpload(ce::IStream& stream) {
  if (m_cbUpload > 0) {
    ce::ULONG written = 0;
    if (const ce::HRESULT result = stream.Write(m_pUpload.get(), m_cbUpload, &written); result < 0) {
      return result;
    }
  }
  return stream.SetSize({.LowPart = m_cbUpload, .HighPart = 0});
}

void CContactsModule::DropUpload() {
  m_cbUpload = 0;
  m_pUpload.reset();
}
