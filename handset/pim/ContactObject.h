// A contact of Pocket Outlook.
#pragma once

#include "handset/com/ComObject.h"
#include "handset/pim/PictureStream.h"
#include "handset/pim/Properties.h"
#include "handset/store/Contact.h"
#include "platform/Contact.h"
#include "platform/Item.h"

namespace handset {

class ContactObject;

// The same contact by property ids; its references are the contact's.
class ContactItem final : public ce::IItem {
 public:
  explicit ContactItem(ContactObject& contact) : m_contact(contact) {}

  ce::HRESULT QueryInterface(const ce::IID& iid, void** object) override;
  ce::ULONG AddRef() override;
  ce::ULONG Release() override;

  ce::HRESULT GetProps(const ce::CEPROPID* ids, ce::ULONG flags, ce::WORD count, ce::CEPROPVAL** values,
                       ce::ULONG* byteCount, ce::HANDLE heap) override;
  // S_OK only when every value was taken and was another one before.
  ce::HRESULT SetProps(ce::ULONG flags, ce::WORD count, ce::CEPROPVAL* values) override;
  // What was saved through either interface is on the disk when this returns.
  ce::HRESULT Save() override;
  ce::HRESULT OpenProperty(ce::CEPROPID id, ce::DWORD mode, ce::IStream** stream) override;

  ce::HRESULT Delete() override { return ce::E_NOTIMPL; }
  ce::HRESULT Display(ce::HWND) override { return ce::E_NOTIMPL; }
  ce::HRESULT Edit(ce::HWND) override { return ce::E_NOTIMPL; }
  ce::HRESULT Copy(ce::IItem**) override { return ce::E_NOTIMPL; }
  ce::HRESULT get_Oid(ce::LONG*) override { return ce::E_NOTIMPL; }
  ce::HRESULT get_DefaultItemType(ce::INT*) override { return ce::E_NOTIMPL; }
  ce::HRESULT get_Application(ce::IPOutlookApp**) override { return ce::E_NOTIMPL; }
  ce::HRESULT get_Parent(ce::IFolder**) override { return ce::E_NOTIMPL; }
  ce::HRESULT AddCategory(ce::LPCWSTR) override { return ce::E_NOTIMPL; }
  ce::HRESULT RemoveCategory(ce::LPCWSTR) override { return ce::E_NOTIMPL; }

 private:
  ContactObject& m_contact;
};

class ContactObject final : public DispatchObject<ContactObject, ce::IContact> {
 public:
  static constexpr const char* kName = "IContact";
  static constexpr Call kRelease = Call::IContact_Release;
  static constexpr Call kQueryInterface = Call::IContact_QueryInterface;
  static bool Answers(const ce::IID& iid) { return iid == ce::IID_IContact || DispatchObject::Answers(iid); }
  void* FindInterface(const ce::IID& iid) {
    return iid == ce::IID_IItem ? static_cast<ce::IItem*>(&m_item) : DispatchObject::FindInterface(iid);
  }

  // A contact without an object id comes into being when it is saved.
  ContactObject(Phone& phone, Contact contact) : DispatchObject(phone), m_contact(std::move(contact)) {}
  ~ContactObject();

#define CONTACT_TEXT(name)                                                                             \
  ce::HRESULT get_##name(ce::BSTR* text) override {                                                    \
    return Enter<Call::IContact_get_##name>(GetPhone(), [&] { return Get(ContactText::name, text); }); \
  }                                                                                                    \
  ce::HRESULT put_##name(ce::BSTR text) override {                                                     \
    return Enter<Call::IContact_put_##name>(GetPhone(), [&] { return Put(ContactText::name, text); }); \
  }
#include "handset/store/ContactTexts.def"

#define CONTACT_DATE(name, member)                                                                       \
  ce::HRESULT get_##name(ce::DATE* date) override {                                                      \
    return GetProperty<Call::IContact_get_##name>(GetPhone(), date, m_contact.member.value_or(kNoDate)); \
  }                                                                                                      \
  ce::HRESULT put_##name(ce::DATE date) override {                                                       \
    return Enter<Call::IContact_put_##name>(GetPhone(), [&] { return Put(m_contact.member, date); });    \
  }
  CONTACT_DATE(Birthday, birthday)
  CONTACT_DATE(Anniversary, anniversary)
#undef CONTACT_DATE

  // Everybody sees the contact from now on. It is on the disk when IItem::Save returns or the last reference is given
  // back, whichever comes first, so that a contact saved through both interfaces is never half a new one.
  ce::HRESULT Save() override;
  ce::HRESULT Delete() override;
  ce::HRESULT get_Oid(ce::LONG* value) override;

  ce::HRESULT get_YomiCompanyName(ce::BSTR*) override { return ce::E_NOTIMPL; }
  ce::HRESULT get_YomiFirstName(ce::BSTR*) override { return ce::E_NOTIMPL; }
  ce::HRESULT get_YomiLastName(ce::BSTR*) override { return ce::E_NOTIMPL; }
  ce::HRESULT put_YomiCompanyName(ce::BSTR) override { return ce::E_NOTIMPL; }
  ce::HRESULT put_YomiFirstName(ce::BSTR) override { return ce::E_NOTIMPL; }
  ce::HRESULT put_YomiLastName(ce::BSTR) override { return ce::E_NOTIMPL; }
  ce::HRESULT Copy(ce::IContact**) override { return ce::E_NOTIMPL; }
  ce::HRESULT Display() override { return ce::E_NOTIMPL; }
  ce::HRESULT put_BodyInk(ce::CEBLOB*) override { return ce::E_NOTIMPL; }
  ce::HRESULT get_BodyInk(ce::CEBLOB*) override { return ce::E_NOTIMPL; }
  ce::HRESULT get_Application(ce::IPOutlookApp**) override { return ce::E_NOTIMPL; }

 private:
  friend class ContactItem;

  ce::HRESULT Get(ContactText which, ce::BSTR* text);
  ce::HRESULT Put(ContactText which, ce::BSTR text);
  static ce::HRESULT Put(std::optional<double>& date, ce::DATE value);
  ce::HRESULT StoreContact();
  Bytes GetPicture();

  Contact m_contact;
  const std::shared_ptr<PictureState> m_picture = std::make_shared<PictureState>();
  ContactItem m_item{*this};
  bool m_isDeleted = false;
  bool m_isUnfinished = false;
};

}  // namespace handset
