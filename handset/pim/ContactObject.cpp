#include "handset/pim/ContactObject.h"

#include <cmath>
#include <cstdio>

#include "handset/store/PimRows.h"

namespace handset {

namespace {

using ce::HRESULT;
using ce::S_OK;

// As a phone that was given none: "last, first", what there is of the two, or the company.
std::u16string MakeFileAs(const Contact& contact) {
  const std::u16string last = contact[ContactText::LastName].value_or(u"");
  const std::u16string first = contact[ContactText::FirstName].value_or(u"");
  if (!last.empty() && !first.empty()) return last + u", " + first;
  if (!last.empty() || !first.empty()) return last + first;
  return contact[ContactText::CompanyName].value_or(u"");
}

}  // namespace

ContactObject::~ContactObject() {
  if (!m_isUnfinished) return;
  try {
    GetPhone().store.FinishItemChange();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
  }
}

HRESULT ContactObject::Get(ContactText which, ce::BSTR* text) {
  if (text == nullptr) return ce::E_POINTER;
  *text = nullptr;
  const auto& value = m_contact[which];
  if (which == ContactText::Body && !value) return ce::S_FALSE;
  Answer(GetPhone(), text, which == ContactText::FileAs && !value ? MakeFileAs(m_contact) : value.value_or(u""));
  return S_OK;
}

HRESULT ContactObject::Put(ContactText which, ce::BSTR text) {
  auto& value = m_contact[which];
  value = TextOf(text);
  const bool emptyIsSomething = which == ContactText::FileAs || which == ContactText::Body;
  if (value->empty() && !emptyIsSomething) value.reset();
  return S_OK;
}

HRESULT ContactObject::Put(std::optional<double>& date, ce::DATE value) {
  if (!std::isfinite(value)) return ce::E_INVALIDARG;
  date = value;
  if (value == kNoDate) date.reset();
  return S_OK;
}

HRESULT ContactObject::StoreContact() {
  if (m_isDeleted) return ce::E_FAIL;
  m_isUnfinished = true;
  if (!GetPhone().store.PutContact(m_contact, m_picture->committed)) return ce::E_FAIL;
  m_picture->committed.reset();
  return S_OK;
}

HRESULT ContactObject::Save() {
  return Enter<Call::IContact_Save>(GetPhone(), [&] { return StoreContact(); });
}

HRESULT ContactObject::Delete() {
  return Enter<Call::IContact_Delete>(GetPhone(), [&] {
    if (!GetPhone().store.DeleteItem(m_contact.oid)) return ce::E_FAIL;
    m_isDeleted = true;
    return S_OK;
  });
}

HRESULT ContactObject::get_Oid(ce::LONG* value) {
  return GetProperty<Call::IContact_get_Oid>(GetPhone(), value, static_cast<ce::LONG>(m_contact.oid));
}

Bytes ContactObject::GetPicture() {
  if (m_picture->committed) return *m_picture->committed;
  return GetPhone().store.Use([&](const SQLite::Database& database) { return SelectPicture(database, m_contact.oid); });
}

}  // namespace handset
