// What stores, folders and messages share: their properties can be asked for.
#pragma once

#include "handset/com/ComObject.h"
#include "handset/mail/Properties.h"
#include "handset/mail/Unsupported.h"

namespace handset {

// Object is the final class; it says kName, kRelease, kGetProps and ReadProperties().
template <typename Object, typename Interface>
class PropertyObject : public ComObject<Object, Interface> {
 public:
  static bool Answers(const ce::IID&) { return false; }

  ce::HRESULT GetProps(const ce::SPropTagArray* tags, ce::ULONG, ce::ULONG* count, ce::SPropValue** values) final {
    Phone& phone = this->GetPhone();
    return Enter<Object::kGetProps>(phone, [&] {
      if (count == nullptr || values == nullptr) return ce::E_INVALIDARG;
      const Properties properties = static_cast<Object*>(this)->ReadProperties();
      std::optional<std::span<const ce::ULONG>> wanted;
      if (tags != nullptr) wanted.emplace(tags->aulPropTag, tags->cValues);
      *values = NewPropValues(phone, properties, wanted);
      *count = static_cast<ce::ULONG>(wanted ? wanted->size() : properties.size());
      return wanted && !HasAll(properties, *wanted) ? ce::MAPI_W_ERRORS_RETURNED : ce::S_OK;
    });
  }

  using HRESULT = ce::HRESULT;
  using ULONG = ce::ULONG;
  HRESULT GetLastError(HRESULT, ULONG, ce::MAPIERROR**) final { return kNoSupport; }
  HRESULT SaveChanges(ULONG) final { return kNoSupport; }
  HRESULT GetPropList(ULONG, ce::SPropTagArray**) final { return kNoSupport; }
  HRESULT OpenProperty(ULONG, const ce::IID*, ULONG, ULONG, ce::IUnknown**) final { return kNoSupport; }
  HRESULT SetProps(ULONG, ce::SPropValue*, ce::SPropProblemArray**) final { return kNoSupport; }
  HRESULT DeleteProps(ce::SPropTagArray*, ce::SPropProblemArray**) final { return kNoSupport; }
  HRESULT CopyTo(ULONG, const ce::IID*, ce::SPropTagArray*, ULONG, ce::IMAPIProgress*, const ce::IID*, void*, ULONG,
                 ce::SPropProblemArray**) final {
    return kNoSupport;
  }
  HRESULT CopyProps(ce::SPropTagArray*, ULONG, ce::IMAPIProgress*, const ce::IID*, void*, ULONG,
                    ce::SPropProblemArray**) final {
    return kNoSupport;
  }
  HRESULT GetNamesFromIDs(ce::SPropTagArray**, ce::GUID*, ULONG, ULONG*, ce::MAPINAMEID***) final { return kNoSupport; }
  HRESULT GetIDsFromNames(ULONG, ce::MAPINAMEID**, ULONG, ce::SPropTagArray**) final { return kNoSupport; }

 protected:
  using ComObject<Object, Interface>::ComObject;
  ~PropertyObject() = default;
};

}  // namespace handset
