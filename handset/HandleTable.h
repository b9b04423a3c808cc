// Numbers for the objects behind handles. A number is never used twice, so a handle that was given back stays invalid;
// an object lives on while a call that found it still works with it.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "handset/Ledger.h"

namespace handset {

struct HandleObject {
  explicit HandleObject(Held heldAs) : kind(heldAs) {}
  virtual ~HandleObject() = default;
  HandleObject(const HandleObject&) = delete;
  HandleObject& operator=(const HandleObject&) = delete;

  const Held kind;
};

class HandleTable {
 public:
  explicit HandleTable(Ledger& ledger) : m_ledger(ledger) {}

  std::uint32_t Add(std::shared_ptr<HandleObject> object, std::string what) {
    const std::lock_guard lock(m_mutex);
    const std::uint32_t id = m_next;
    m_ledger.Hold(object->kind, id, std::move(what));
    m_objects.emplace(id, std::move(object));
    m_next += 4;
    return id;
  }

  // Null when the handle is not one of an Object.
  template <typename Object>
  std::shared_ptr<Object> Find(std::uintptr_t id) const {
    const std::lock_guard lock(m_mutex);
    const auto at = m_objects.find(id);
    return at == m_objects.end() ? nullptr : std::dynamic_pointer_cast<Object>(at->second);
  }

  // As Find, and the handle is invalid from now on.
  template <typename Object>
  std::shared_ptr<Object> Take(std::uintptr_t id) {
    const std::lock_guard lock(m_mutex);
    const auto at = m_objects.find(id);
    if (at == m_objects.end()) return nullptr;
    auto object = std::dynamic_pointer_cast<Object>(at->second);
    if (!object) return nullptr;
    m_ledger.Drop(object->kind, id);
    m_objects.erase(at);
    return object;
  }

  // Invalidates all handles of an Object for which the condition holds.
  template <typename Object, typename Condition>
  void TakeIf(Condition condition) {
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_objects, [&](const auto& item) {
      const auto object = std::dynamic_pointer_cast<Object>(item.second);
      if (!object || !condition(*object)) return false;
      m_ledger.Drop(object->kind, item.first);
      return true;
    });
  }

  // A fault rule refused to take the handle back.
  void Refuse(std::uintptr_t id) {
    const std::lock_guard lock(m_mutex);
    const auto at = m_objects.find(id);
    if (at != m_objects.end()) m_ledger.Refuse(at->second->kind, id);
  }

 private:
  static constexpr std::uint32_t kFirst = 0x1000;

  Ledger& m_ledger;
  mutable std::mutex m_mutex;
  std::map<std::uintptr_t, std::shared_ptr<HandleObject>> m_objects;
  std::uint32_t m_next = kFirst;
};

}  // namespace handset
