#include "wince/loader/Proxies.h"

#include <array>
#include <cstdio>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <unistd.h>

#include "platform/Appointment.h"
#include "platform/Contact.h"
#include "platform/Item.h"
#include "platform/Mapi.h"
#include "platform/PocketOutlook.h"
#include "platform/RapiStream.h"
#include "wince/loader/FaultReport.h"

namespace crossing {

namespace {

constexpr std::size_t kMostSlots = 128;
constexpr std::size_t kReleaseSlot = 2;
// Proxies that were given back are kept this long, so that a call on one is seen for what it is.
constexpr std::size_t kKeptReleased = 1024;

using Row = std::array<void*, kMostSlots>;

// As the library sees it: the row first.
struct Proxy {
  void* const* row;
  ce::IUnknown* object;
};

// Never destroyed: threads of the phone may still run when the program ends.
struct Registry {
  std::mutex mutex;
  std::map<ce::IUnknown*, std::unique_ptr<Proxy>> live;
  std::deque<std::unique_ptr<Proxy>> released;
};

Registry& TheRegistry() {
  static auto* registry = new Registry;
  return *registry;
}

std::uint64_t RunUnlisted(const Entry& entry, const std::uint32_t*) {
  char text[160];
  std::snprintf(text, sizeof text, "called slot %u of %s, which the list of calls does not have",
                static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(entry.target)), entry.name);
  StopForFault(text);
}

void* UnlistedStub(const char* name, std::size_t slot) {
  return NewStub(new Entry{&RunUnlisted, reinterpret_cast<const void*>(slot), name});
}

void** ReleasedRow() {
  static Row* row = [] {
    auto* made = new Row;
    for (std::size_t slot = 0; slot < kMostSlots; ++slot) (*made)[slot] = UnlistedStub("a released object", slot);
    return made;
  }();
  return row->data();
}

// With the registry's lock held: an object that is gone may have another one at its address at once.
void Retire(Registry& registry, Proxy& proxy) {
  const auto place = registry.live.find(proxy.object);
  proxy.row = ReleasedRow();
  registry.released.push_back(std::move(place->second));
  registry.live.erase(place);
  if (registry.released.size() > kKeptReleased) registry.released.pop_front();
}

// The compiler writes a virtual method's place in the row as an offset.
template <class Method>
std::size_t SlotOf(Method method) {
  std::uintptr_t offset = 0;
  static_assert(sizeof method >= sizeof offset);
  std::memcpy(&offset, &method, sizeof offset);
  return offset / sizeof(void*);
}

template <class Interface, auto kMethod, class Signature = decltype(kMethod)>
struct Method;
template <class Interface, auto kMethod, class Base, class Result, class... Parameters>
struct Method<Interface, kMethod, Result (Base::*)(Parameters...)> {
  static std::uint64_t Run(const Entry&, const std::uint32_t* words) {
    auto& proxy = *reinterpret_cast<Proxy*>(*words++);
    if (SlotOf(kMethod) != kReleaseSlot) return CallObject(proxy, words);
    // The library lets go of an object when a release answers 0, whoever else may hold it otherwise.
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    const std::uint64_t left = CallObject(proxy, words);
    if (left == 0) Retire(registry, proxy);
    return left;
  }

 private:
  static std::uint64_t CallObject(Proxy& proxy, const std::uint32_t* words) {
    auto* object = static_cast<Interface*>(proxy.object);
    return Forward<kNamesInterface<Parameters...>, Result, Parameters...>(
        [object](Parameters... arguments) { return (object->*kMethod)(arguments...); }, words);
  }
};

// The row of an interface: its methods in the list of calls, those of its bases among them.
template <class Interface>
void** RowOf(const char* name) {
  static Row* row = [name] {
    auto* made = new Row;
    for (std::size_t slot = 0; slot < kMostSlots; ++slot) (*made)[slot] = UnlistedStub(name, slot);
#define CE_CALL(library, function, failure, code)
#define CE_METHOD(interface, method, failure, code)                                                            \
  if constexpr (std::is_base_of_v<ce::interface, Interface>) {                                                 \
    (*made)[SlotOf(&ce::interface::method)] =                                                                  \
        NewStub(new Entry{&Method<Interface, &ce::interface::method>::Run, nullptr, #interface "::" #method}); \
  }
#include "platform/Calls.def"
#undef CE_CALL
#undef CE_METHOD
    return made;
  }();
  return row->data();
}

// The interfaces that the loader hands over; a derived one stands before its bases.
// clang-format off
#define KNOWN_INTERFACES(X) \
  X(IPOutlookApp) X(IFolder) X(IPOutlookItemCollection) X(IContact) \
  X(IAppointment) X(IRecurrencePattern) X(IRecipients) X(IItem) \
  X(IMAPISession) X(IMAPITable) X(IMsgStore) X(IMAPIFolder) \
  X(IMessage) X(IRAPIStream) X(IStream)
// clang-format on

// Of an object with several interfaces, the one that this pointer points to.
void** RowFor(ce::IUnknown* object) {
#define TAKE_IF_IT_IS(interface)                                         \
  if (auto* found = dynamic_cast<ce::interface*>(object);                \
      found != nullptr && static_cast<ce::IUnknown*>(found) == object) { \
    return RowOf<ce::interface>(#interface);                             \
  }
  KNOWN_INTERFACES(TAKE_IF_IT_IS)
#undef TAKE_IF_IT_IS
  return nullptr;
}

#define OR_IS_OF(interface) || std::is_base_of_v<Listed, ce::interface>
template <class Listed>
constexpr bool kIsKnown = false KNOWN_INTERFACES(OR_IS_OF);
#undef OR_IS_OF

#define CE_CALL(library, function, failure, code)
#define CE_METHOD(interface, method, failure, code) \
  static_assert(kIsKnown<ce::interface>, "add " #interface " to the interfaces above");
#include "platform/Calls.def"
#undef CE_CALL
#undef CE_METHOD

}  // namespace

void* ToLibrary(ce::IUnknown* object) {
  if (object == nullptr) return nullptr;
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.mutex);
  void** row = RowFor(object);
  if (row == nullptr) StopForFault("was to get an object of an interface that the loader does not know");
  // An object that went with its last reference on another interface leaves a proxy behind. What stands at its address
  // now may be something else.
  const auto place = registry.live.find(object);
  if (place != registry.live.end() && place->second->row != row) Retire(registry, *place->second);
  std::unique_ptr<Proxy>& proxy = registry.live[object];
  if (proxy == nullptr) proxy.reset(new Proxy{row, object});
  return proxy.get();
}

ce::IUnknown* FromLibrary(void* proxy) {
  if (proxy == nullptr) return nullptr;
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.mutex);
  for (const auto& [object, live] : registry.live) {
    if (live.get() == proxy) return object;
  }
  StopForFault("handed over an object that it does not hold");
}

}  // namespace crossing
