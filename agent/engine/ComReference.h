// A reference to one of the phone's objects, given back with the scope.
#pragma once

#include <utility>

#include "platform/Com.h"

template <class Interface>
class CComReference {
 public:
  CComReference() = default;
  ~CComReference() { Reset(); }
  CComReference(CComReference&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
  CComReference(const CComReference&) = delete;
  CComReference& operator=(const CComReference&) = delete;

  // Where a call puts the reference that it gives.
  Interface** Receive() {
    Reset();
    return &m_object;
  }
  // Asks an object for this interface; null when it has none.
  ce::HRESULT Query(ce::IUnknown& object, const ce::IID& iid) {
    void* found = nullptr;
    const ce::HRESULT result = object.QueryInterface(iid, &found);
    Reset();
    m_object = static_cast<Interface*>(found);
    return result;
  }

  // The same object under the interface that it is known to have.
  template <class Other>
  void Take(CComReference<Other>&& other) {
    Reset();
    m_object = static_cast<Interface*>(other.Detach());
  }
  Interface* Detach() { return std::exchange(m_object, nullptr); }

  explicit operator bool() const { return m_object != nullptr; }
  Interface* operator->() const { return m_object; }
  Interface& operator*() const { return *m_object; }

  void Reset() {
    if (m_object != nullptr) {
      Detach()->Release();
    }
  }

 private:
  Interface* m_object = nullptr;
};
