#include <algorithm>
#include <cstring>

#include "handset/pim/ContactObject.h"
#include "handset/system/Heap.h"

namespace handset {

namespace {

using ce::CEPROPID;
using ce::CEPROPVAL;
using ce::HRESULT;
using ce::S_OK;
using ce::ULONG;
using ce::WORD;

constexpr HRESULT E_ACCESSDENIED = ce::Hresult(0x80070005);
constexpr WORD kDeleteProperty = 0x0200;

// The text with this property id, or null.
template <typename AnyContact>
auto* FindText(AnyContact& contact, CEPROPID id) {
  const auto at =
      std::ranges::find_if(kContactTexts, [&](const ContactTextInfo& text) { return text.id != 0 && text.id == id; });
  return at == kContactTexts.end() ? nullptr : &contact.texts[static_cast<std::size_t>(at - kContactTexts.begin())];
}

// One block: the records, then their texts.
CEPROPVAL* NewRecords(Phone& phone, const Contact& contact, std::span<const CEPROPID> ids, ce::HANDLE heap,
                      ULONG& size) {
  std::size_t units = 0;
  for (const CEPROPID id : ids) {
    const auto* text = FindText(contact, id);
    if (text != nullptr && *text) units += (*text)->size() + 1;
  }
  size = static_cast<ULONG>(ids.size() * sizeof(CEPROPVAL) + units * sizeof(ce::WCHAR));
  void* const block = AllocateOnHeap(phone, heap, size);
  if (block == nullptr) return nullptr;
  std::memset(block, 0, size);
  auto* const records = static_cast<CEPROPVAL*>(block);
  auto* behind = static_cast<ce::WCHAR*>(static_cast<void*>(records + ids.size()));
  for (std::size_t i = 0; i < ids.size(); ++i) {
    records[i].propid = ids[i];
    const auto* text = FindText(contact, ids[i]);
    if (text == nullptr || !*text) {
      records[i].wFlags = ce::CEDB_PROPNOTFOUND;
      continue;
    }
    records[i].val.lpwstr = behind;
    (*text)->copy(behind, (*text)->size());
    behind += (*text)->size() + 1;
  }
  return records;
}

}  // namespace

HRESULT ContactItem::QueryInterface(const ce::IID& iid, void** object) { return m_contact.QueryInterface(iid, object); }
ULONG ContactItem::AddRef() { return m_contact.AddRef(); }
ULONG ContactItem::Release() { return m_contact.ReleaseAs(Call::IItem_Release); }

HRESULT ContactItem::GetProps(const CEPROPID* ids, ULONG flags, WORD count, CEPROPVAL** values, ULONG* byteCount,
                              ce::HANDLE heap) {
  Phone& phone = m_contact.GetPhone();
  return Enter<Call::IItem_GetProps>(phone, [&] {
    if (ids == nullptr || values == nullptr || count == 0 || flags != ce::CEDB_ALLOWREALLOC) return ce::E_INVALIDARG;
    const HRESULT answer = ce::Hresult(m_contact.m_contact.getPropsAnswers);
    if (answer < 0) return answer;
    ULONG size = 0;
    *values = NewRecords(phone, m_contact.m_contact, {ids, count}, heap, size);
    if (*values == nullptr) return ce::E_OUTOFMEMORY;
    if (byteCount != nullptr) *byteCount = size;
    return answer;
  });
}

HRESULT ContactItem::SetProps(ULONG flags, WORD count, CEPROPVAL* values) {
  return Enter<Call::IItem_SetProps>(m_contact.GetPhone(), [&] {
    if (values == nullptr || flags != 0) return ce::E_INVALIDARG;
    bool allChanged = true;
    for (const CEPROPVAL& value : std::span(values, count)) {
      auto* text = FindText(m_contact.m_contact, value.propid);
      const bool isDeletion = (value.wFlags & kDeleteProperty) != 0;
      if (text == nullptr || (!isDeletion && value.val.lpwstr == nullptr)) {
        allChanged = false;
        continue;
      }
      std::optional<std::u16string> wanted;
      if (!isDeletion) wanted = value.val.lpwstr;
      allChanged = allChanged && *text != wanted;
      *text = std::move(wanted);
    }
    return allChanged ? S_OK : ce::S_FALSE;
  });
}

HRESULT ContactItem::Save() {
  return Enter<Call::IItem_Save>(m_contact.GetPhone(), [&] {
    const HRESULT stored = m_contact.StoreContact();
    if (stored != S_OK) return stored;
    m_contact.m_isUnfinished = false;
    m_contact.GetPhone().store.FinishItemChange();
    return S_OK;
  });
}

HRESULT ContactItem::OpenProperty(CEPROPID id, ce::DWORD mode, ce::IStream** stream) {
  return Enter<Call::IItem_OpenProperty>(m_contact.GetPhone(), [&] {
    if (stream == nullptr) return ce::E_POINTER;
    *stream = nullptr;
    if (id != ce::PIMPR_PICTURE || (mode != ce::GENERIC_READ && mode != ce::GENERIC_WRITE)) return ce::E_INVALIDARG;
    if (m_contact.m_picture->isOpen) return E_ACCESSDENIED;
    Bytes picture = m_contact.GetPicture();
    const bool isReading = mode == ce::GENERIC_READ;
    if (isReading && picture.empty() && !m_contact.m_contact.emptyPictureOpens) return E_ACCESSDENIED;
    *stream = NewPictureStream(m_contact.GetPhone(), m_contact.m_picture, std::move(picture), !isReading);
    return S_OK;
  });
}

}  // namespace handset
