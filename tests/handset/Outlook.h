// Pocket Outlook as the agent finds it: logged on, with the default folders open.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/Appointment.h"
#include "platform/Automation.h"
#include "platform/Contact.h"
#include "platform/Heap.h"
#include "platform/Item.h"
#include "tests/support/TestPhone.h"

namespace test {

// Owns one reference.
template <typename Interface>
class Held {
 public:
  Held() = default;
  explicit Held(Interface* it) : m_it(it) {}
  Held(Held&& other) noexcept : m_it(std::exchange(other.m_it, nullptr)) {}
  Held& operator=(Held&&) = delete;
  ~Held() { Release(); }

  Interface* operator->() const { return m_it; }
  Interface* Get() const { return m_it; }
  Interface** Place() { return &m_it; }
  void Release() {
    if (m_it != nullptr) std::exchange(m_it, nullptr)->Release();
  }

 private:
  Interface* m_it = nullptr;
};

// What a getter answers, with the result in front unless it is S_OK.
inline std::u16string Read(const std::function<ce::HRESULT(ce::BSTR*)>& get) {
  ce::BSTR text = nullptr;
  const ce::HRESULT result = get(&text);
  std::u16string read = result == ce::S_OK ? u"" : result == ce::S_FALSE ? u"S_FALSE " : u"failed ";
  if (text != nullptr) read += text;
  ce::SysFreeString(text);
  return read;
}

#define READ(object, property) test::Read([&](ce::BSTR* text) { return (object)->get_##property(text); })

inline ce::HRESULT Put(const std::function<ce::HRESULT(ce::BSTR)>& put, const char16_t* text) {
  const ce::BSTR made = ce::SysAllocString(text);
  const ce::HRESULT result = put(made);
  ce::SysFreeString(made);
  return result;
}

class Outlook {
 public:
  explicit Outlook(const char* description) : m_phone(nlohmann::json::parse(description)) {
    EXPECT_EQ(ce::CoCreateInstance(ce::CLSID_Application, nullptr, ce::CLSCTX_INPROC_SERVER, ce::IID_IPOutlookApp,
                                   reinterpret_cast<void**>(m_app.Place())),
              ce::S_OK);
    EXPECT_EQ(m_app->Logon(0), ce::S_OK);
  }
  ~Outlook() { m_app->Logoff(); }

  TestPhone& Phone() { return m_phone; }
  ce::IPOutlookApp& App() { return *m_app.Get(); }

  Held<ce::IPOutlookItemCollection> Items(ce::INT number) {
    Held<ce::IFolder> folder;
    Held<ce::IPOutlookItemCollection> items;
    EXPECT_EQ(m_app->GetDefaultFolder(number, folder.Place()), ce::S_OK);
    EXPECT_EQ(folder->get_Items(items.Place()), ce::S_OK);
    return items;
  }

  Held<ce::IContact> Contact(std::uint32_t oid) { return Open<ce::IContact>(oid); }
  Held<ce::IAppointment> Appointment(std::uint32_t oid) { return Open<ce::IAppointment>(oid); }

 private:
  template <typename Interface>
  Held<Interface> Open(std::uint32_t oid) {
    ce::IDispatch* item = nullptr;
    EXPECT_EQ(m_app->GetItemFromOid(static_cast<ce::LONG>(oid), &item), ce::S_OK);
    return Held(static_cast<Interface*>(item));
  }

  TestPhone m_phone;
  Held<ce::IPOutlookApp> m_app;
};

inline Held<ce::IItem> ItemOf(const Held<ce::IContact>& contact) {
  Held<ce::IItem> item;
  EXPECT_EQ(contact->QueryInterface(ce::IID_IItem, reinterpret_cast<void**>(item.Place())), ce::S_OK);
  return item;
}

}  // namespace test
