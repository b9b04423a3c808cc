// CContactRecord, filled from a contact of the phone.
#include "agent/modules/pim/ContactRecord.h"

#include <new>

#include "agent/engine/AgentEngine.h"
#include "platform/Heap.h"

namespace {

// A block of the process heap that a library of the phone handed out.
class CHeapBlock {
 public:
  CHeapBlock(ce::HANDLE heap, void* block) : m_heap(heap), m_block(block) {}
  ~CHeapBlock() {
    if (m_block != nullptr) {
      ce::HeapFree(m_heap, 0, m_block);
    }
  }
  CHeapBlock(const CHeapBlock&) = delete;
  CHeapBlock& operator=(const CHeapBlock&) = delete;

 private:
  ce::HANDLE m_heap;
  void* m_block;
};

}  // namespace

ce::HRESULT CContactRecord::Fill(ce::IContact& contact) {
  if (const ce::HRESULT result = FillProperties(contact); result != ce::S_OK) {
    return result;
  }
  if (const ce::HRESULT result = FillById(contact); result != ce::S_OK) {
    return result;
  }
  FillPicture(contact);
  return ce::S_OK;
}

// Any answer but 0 is a failure here, except that a Body may answer 1: phones say that of a contact without notes.
ce::HRESULT CContactRecord::FillProperties(ce::IContact& contact) {
  ce::LONG oid = 0;
  if (const ce::HRESULT result = contact.get_Oid(&oid); result != ce::S_OK) {
    return result;
  }
  m_oid = static_cast<std::uint32_t>(oid);
  for (std::size_t i = 0; i < m_dates.size(); ++i) {
    if (const ce::HRESULT result = (contact.*contact::kDates[i].get)(&m_dates[i]); result != ce::S_OK) {
      return result;
    }
  }
  for (std::size_t i = 0; i < contact::kPropertyCount; ++i) {
    CSystemString& text = m_texts[i];
    const ce::HRESULT result = (contact.*contact::kTexts[i].get)(text.Receive());
    if (result != ce::S_OK && !(i == contact::kBody && result == ce::S_FALSE)) {
      return result;
    }
    if (text.View().empty()) {
      text.Reset();
    }
  }
  return ce::S_OK;
}

// Kept(props-result-3-or-5): these two answers of GetProps count as success; the texts that came are taken.
ce::HRESULT CContactRecord::FillById(ce::IContact& contact) {
  const ce::HANDLE heap = ce::GetProcessHeap();
  if (heap == ce::kNoHandle) {
    return ce::E_OUTOFMEMORY;
  }
  CComReference<ce::IItem> item;
  if (const ce::HRESULT result = item.Query(contact, ce::IID_IItem); result < 0) {
    return result;
  }
  if (!item) {
    return ce::S_OK;
  }
  std::array<ce::CEPROPID, contact::kByIdCount> ids{};
  for (std::size_t i = 0; i < ids.size(); ++i) {
    ids[i] = contact::kTexts[contact::kPropertyCount + i].id;
  }
  ce::CEPROPVAL* values = nullptr;
  ce::ULONG size = 0;
  const ce::HRESULT result =
      item->GetProps(ids.data(), ce::CEDB_ALLOWREALLOC, static_cast<ce::WORD>(ids.size()), &values, &size, heap);
  const CHeapBlock block(heap, values);
  if (result != ce::S_OK && result != 3 && result != 5) {
    return result;
  }
  return values == nullptr || CopyById({values, ids.size()}) ? ce::S_OK : ce::E_OUTOFMEMORY;
}

bool CContactRecord::CopyById(std::span<const ce::CEPROPVAL> values) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    const ce::WCHAR* text = values[i].val.lpwstr;
    const bool found = (values[i].wFlags & ce::CEDB_PROPNOTFOUND) == 0 && text != nullptr && *text != 0;
    if (found && !m_texts[contact::kPropertyCount + i].Copy(text)) {
      return false;
    }
  }
  return true;
}

// Whatever fails on the way, the contact is answered without a picture.
void CContactRecord::FillPicture(ce::IContact& contact) {
  CComReference<ce::IItem> item;
  if (item.Query(contact, ce::IID_IItem) < 0 || !item) {
    return;
  }
  CComReference<ce::IStream> stream;
  if (item->OpenProperty(ce::PIMPR_PICTURE, ce::GENERIC_READ, stream.Receive()) >= 0 && stream) {
    EncodePicture(*stream);
  }
}

void CContactRecord::EncodePicture(ce::IStream& stream) {
  // What 32 bits count of text for it.
  constexpr ce::DWORD kLargest = 0x50000000;
  // Three bytes of text for each of the picture are enough but for the shortest ones.
  constexpr ce::DWORD kExtra = 4;

  ce::ULARGE_INTEGER size{};
  if (stream.Seek({}, ce::STREAM_SEEK_END, &size) < 0 || size.HighPart != 0 || size.LowPart == 0 ||
      size.LowPart > kLargest || stream.Seek({}, ce::STREAM_SEEK_SET, nullptr) < 0) {
    return;
  }
  const std::unique_ptr<std::uint8_t[]> bytes(new (std::nothrow) std::uint8_t[size.LowPart]);
  ce::ULONG read = 0;
  if (!bytes || stream.Read(bytes.get(), size.LowPart, &read) < 0 || read == 0 || read > size.LowPart) {
    return;
  }
  const std::uint32_t room = read * 3 + kExtra;
  m_picture.reset(new (std::nothrow) char[room]);
  if (m_picture) {
    m_pictureLength = CAgentEngine::Base64EncodeBuf(m_picture.get(), bytes.get(), static_cast<std::int32_t>(room),
                                                    static_cast<std::int32_t>(read));
  }
}
