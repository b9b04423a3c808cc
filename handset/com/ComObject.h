// What all COM objects of the phone share: counted references that stand in the ledger, and the four slots of
// automation that nobody here calls.
#pragma once

#include <array>
#include <atomic>
#include <string>

#include "handset/Enter.h"
#include "platform/Com.h"

namespace handset {

inline constexpr ce::IID kIidUnknown{0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr ce::IID kIidDispatch{0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// Object is the final class; it says kName, kRelease (the call of its Release), kQueryInterface when QueryInterface can
// be made to fail, Answers(iid) when it has more than IUnknown, and FindInterface when it has more than one interface.
// A new object has one reference.
template <typename Object, typename Interface>
class ComObject : public Interface {
 public:
  ce::HRESULT QueryInterface(const ce::IID& iid, void** object) final {
    if (object == nullptr) return ce::E_POINTER;
    *object = nullptr;
    const auto query = [&] {
      void* const found = static_cast<Object*>(this)->FindInterface(iid);
      if (found == nullptr) return ce::E_NOINTERFACE;
      AddRef();
      *object = found;
      return ce::S_OK;
    };
    if constexpr (requires { Object::kQueryInterface; }) {
      return Enter<Object::kQueryInterface>(m_phone, query);
    } else {
      return query();
    }
  }

  ce::ULONG AddRef() final {
    m_phone.ledger->Hold(Held::kComReference, m_id);
    return ++m_references;
  }

  ce::ULONG Release() final { return ReleaseAs(Object::kRelease); }

  // Giving a reference back cannot fail. A fault rule's answer other than 0 says that somebody else holds the object:
  // the reference becomes theirs, and another Release takes it from them.
  ce::ULONG ReleaseAs(Call call) {
    const auto fault = m_phone.faults.Enter(call);
    m_phone.ledger->Drop(Held::kComReference, m_id);
    if (fault.value_or(0) != 0) {
      m_phone.outside.Keep(m_id, [this] { delete static_cast<Object*>(this); });
      return *fault;
    }
    const ce::ULONG left = --m_references;
    if (left == 0) {
      m_phone.outside.Forget(m_id);
      delete static_cast<Object*>(this);
    }
    return left;
  }

  // The interface with this id, or null.
  void* FindInterface(const ce::IID& iid) {
    return iid == kIidUnknown || Object::Answers(iid) ? static_cast<Interface*>(this) : nullptr;
  }

 protected:
  explicit ComObject(Phone& phone) : m_phone(phone), m_id(phone.ledger->NextId()) {
    phone.ledger->Hold(Held::kComReference, m_id, Object::kName);
  }
  ~ComObject() = default;

  Phone& GetPhone() { return m_phone; }
  // The object's number in the ledger.
  std::uint64_t GetId() const { return m_id; }

 private:
  Phone& m_phone;
  const std::uint64_t m_id;
  std::atomic<ce::ULONG> m_references{1};
};

template <typename Object, typename Interface>
class DispatchObject : public ComObject<Object, Interface> {
 public:
  static bool Answers(const ce::IID& iid) { return iid == kIidDispatch; }

  ce::HRESULT GetTypeInfoCount(ce::DWORD*) final { return ce::E_NOTIMPL; }
  ce::HRESULT GetTypeInfo(ce::DWORD, ce::DWORD, ce::ITypeInfo**) final { return ce::E_NOTIMPL; }
  ce::HRESULT GetIDsOfNames(const ce::IID&, ce::WCHAR**, ce::DWORD, ce::DWORD, ce::LONG*) final {
    return ce::E_NOTIMPL;
  }
  ce::HRESULT Invoke(ce::LONG, const ce::IID&, ce::DWORD, ce::WORD, ce::DISPPARAMS*, ce::VARIANT*, ce::EXCEPINFO*,
                     ce::DWORD*) final {
    return ce::E_NOTIMPL;
  }

 protected:
  using ComObject<Object, Interface>::ComObject;
  ~DispatchObject() = default;
};

}  // namespace handset
