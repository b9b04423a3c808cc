#include "agent/modules/pim/ItemModule.h"

#include "agent/engine/ErrorRecord.h"

CItemModule::~CItemModule() {
  if (m_pItems != nullptr) {
    m_pItems->Release();
  }
  if (m_pFolder != nullptr) {
    m_pFolder->Release();
  }
}

bool CItemModule::OpenFolder(ce::INT folder) {
  const ce::HRESULT result = m_pEngine->GetPOOM()->GetDefaultFolder(folder, &m_pFolder);
  return result >= 0 || Fail(u"GetDefaultFolder", static_cast<std::uint32_t>(result));
}

void CItemModule::OpenItems(CReplyWriter& reply) {
  if (m_pItems != nullptr) {
    return reply.SendResult(wire::kResultRefused);
  }
  reply.SendResult(static_cast<std::uint32_t>(m_pFolder->get_Items(&m_pItems)));
}

// Kept(collection-open-until-last-release): the result is the reference count that is left, and the collection counts
// as open until a release answers 0; each further close releases once more.
void CItemModule::CloseItems(CReplyWriter& reply) {
  if (m_pItems == nullptr) {
    return reply.SendResult(wire::kResultRefused);
  }
  const ce::ULONG left = m_pItems->Release();
  if (left == 0) {
    m_pItems = nullptr;
  }
  reply.SendResult(left);
}

void CItemModule::GetItemCount(CReplyWriter& reply) {
  if (m_pItems == nullptr) {
    return reply.SendResult(wire::kResultRefused);
  }
  ce::INT count = 0;
  const ce::HRESULT result = m_pItems->get_Count(&count);
  if (result < 0) {
    return reply.SendResult(static_cast<std::uint32_t>(result));
  }
  reply.U32(wire::kResultOk);
  reply.U32(static_cast<std::uint32_t>(count));
  reply.Send();
}

CComReference<ce::IDispatch> CItemModule::GetRequestedItem(CReplyWriter& reply) {
  CComReference<ce::IDispatch> item;
  const std::span<const std::uint8_t> data = RequestData();
  if (m_pItems == nullptr) {
    reply.SendResult(wire::kResultRefused);
  } else if (data.size() != 4) {
    // Kept(malformed-item-request-leaves-length): the reply's length field is what the send buffer held at its place.
    reply.SendResultUncounted(wire::kResultRefused);
  } else {
    // Chosen: an answer of 0 without an item is refused.
    const ce::HRESULT result = m_pItems->Item(static_cast<ce::INT>(wire::ReadU32(data.data())), item.Receive());
    if (result < 0) {
      item.Reset();
      reply.SendResult(static_cast<std::uint32_t>(result));
    } else if (!item) {
      reply.SendResult(wire::kResultRefused);
    }
  }
  return item;
}
