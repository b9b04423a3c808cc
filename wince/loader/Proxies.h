// COM objects that cross the boundary. What the library holds instead of an object of the phone is a proxy: a row of
// stubs and the object behind it. Objects are handed over where a declaration says so: an interface pointer, a pointer
// to one, or the untyped pointer of a call that names an interface.
#pragma once

#include <concepts>

#include "platform/Com.h"
#include "wince/loader/Crossing.h"

namespace crossing {

// The proxy of an object, the same one as long as the library holds it; null for null.
void* ToLibrary(ce::IUnknown* object);

// The object behind a proxy, null for null. Anything else ends the program: the library handed over an object that it
// does not hold, or one of its own.
ce::IUnknown* FromLibrary(void* proxy);

template <class Type>
concept Interface = requires {
  sizeof(Type);
}
&&std::derived_from<Type, ce::IUnknown>;

template <Interface Type, bool kNamesInterface>
class Argument<Type*, kNamesInterface> {
 public:
  explicit Argument(const std::uint32_t*& words) : m_object(FromLibrary(reinterpret_cast<void*>(*words++))) {}
  Type* Get() { return static_cast<Type*>(m_object); }

 private:
  ce::IUnknown* m_object;
};

// Where the callee puts an object. A place that it leaves alone stays as the library left it.
template <class Type>
class ObjectPlace {
 public:
  explicit ObjectPlace(const std::uint32_t*& words) : m_place(reinterpret_cast<void**>(*words++)) {}
  ~ObjectPlace() {
    if (m_place != nullptr && m_object != Untouched()) {
      *m_place = ToLibrary(static_cast<ce::IUnknown*>(m_object));
    }
  }
  ObjectPlace(const ObjectPlace&) = delete;
  ObjectPlace& operator=(const ObjectPlace&) = delete;
  ObjectPlace(ObjectPlace&& other) noexcept : m_place(other.m_place) { other.m_place = nullptr; }

  Type** Get() { return m_place == nullptr ? nullptr : &m_object; }

 private:
  static Type* Untouched() {
    static char mark;
    return reinterpret_cast<Type*>(&mark);
  }

  void** m_place;
  Type* m_object = Untouched();
};

template <Interface Type, bool kNamesInterface>
class Argument<Type**, kNamesInterface> : public ObjectPlace<Type> {
 public:
  using ObjectPlace<Type>::ObjectPlace;
};

template <>
class Argument<void**, true> : public ObjectPlace<void> {
 public:
  using ObjectPlace<void>::ObjectPlace;
};

template <class... Parameters>
inline constexpr bool kNamesInterface = (std::is_same_v<Parameters, const ce::IID&> || ...);

}  // namespace crossing
