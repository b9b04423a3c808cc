// CContactRecord, applied to a contact of the phone.
#include "agent/modules/pim/ContactRecord.h"

namespace {

// Phones answer 1 when a change or a save had nothing to do.
bool IsDone(ce::HRESULT result) { return result == ce::S_OK || result == ce::S_FALSE; }

}  // namespace

ce::HRESULT CContactRecord::Apply(ce::IContact& contact) const {
  CSystemString none;
  if (!none.Copy(u"")) {
    return ce::E_OUTOFMEMORY;
  }
  const ce::HRESULT result = ApplyProperties(contact, none);
  return result == ce::S_OK ? ApplyById(contact, none) : result;
}

// Kept(absent-element-clears): a document describes the whole contact; what it does not mention is emptied.
ce::HRESULT CContactRecord::ApplyProperties(ce::IContact& contact, const CSystemString& none) const {
  for (std::size_t i = 0; i < m_dates.size(); ++i) {
    if (const ce::HRESULT result = (contact.*contact::kDates[i].put)(m_dates[i]); !IsDone(result)) {
      return result;
    }
  }
  for (std::size_t i = 0; i < contact::kPropertyCount; ++i) {
    if (i == contact::kFileAs) {
      continue;
    }
    // Kept(apply-ends-at-false-read): a value that is read back as 1 ends the changes without an error: neither the
    // properties behind it nor FileAs are put, and this save does not come. The one of the properties by id does.
    CSystemString current;
    if (const ce::HRESULT result = (contact.*contact::kTexts[i].get)(current.Receive()); result != ce::S_OK) {
      return result == ce::S_FALSE ? ce::S_OK : result;
    }
    if (const ce::HRESULT result = ApplyText(contact, i, none); !IsDone(result)) {
      return result;
    }
  }
  // A phone makes its own FileAs of the names when the document has none.
  if (!m_texts[contact::kFileAs].IsNull()) {
    if (const ce::HRESULT result = ApplyText(contact, contact::kFileAs, none); !IsDone(result)) {
      return result;
    }
  }
  const ce::HRESULT result = contact.Save();
  return IsDone(result) ? ce::S_OK : result;
}

ce::HRESULT CContactRecord::ApplyText(ce::IContact& contact, std::size_t index, const CSystemString& none) const {
  const CSystemString& text = m_texts[index].IsNull() ? none : m_texts[index];
  return (contact.*contact::kTexts[index].put)(text.Get());
}

ce::HRESULT CContactRecord::ApplyById(ce::IContact& contact, const CSystemString& none) const {
  CComReference<ce::IItem> item;
  if (const ce::HRESULT result = item.Query(contact, ce::IID_IItem); result < 0) {
    return result;
  }
  if (!item) {
    return ce::S_OK;
  }
  std::array<ce::CEPROPVAL, contact::kByIdCount> values{};
  for (std::size_t i = 0; i < values.size(); ++i) {
    const CSystemString& text = m_texts[contact::kPropertyCount + i];
    values[i].propid = contact::kTexts[contact::kPropertyCount + i].id;
    values[i].val.lpwstr = text.IsNull() ? none.Get() : text.Get();
  }
  ce::HRESULT result = item->SetProps(0, static_cast<ce::WORD>(values.size()), values.data());
  if (IsDone(result)) {
    result = item->Save();
  }
  return IsDone(result) ? ce::S_OK : result;
}
