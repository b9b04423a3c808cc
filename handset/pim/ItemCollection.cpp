#include "handset/pim/ItemCollection.h"

#include "handset/com/ComObject.h"
#include "handset/pim/AppointmentObject.h"
#include "handset/pim/ContactObject.h"
#include "handset/store/PimRows.h"

namespace handset {

namespace {

using ce::E_NOTIMPL;
using ce::HRESULT;
using ce::INT;
using ce::S_OK;

// Goes by a list of object ids, so that every place costs the same. The list follows what is added and deleted.
class ItemCollection final : public DispatchObject<ItemCollection, ce::IPOutlookItemCollection> {
 public:
  static constexpr const char* kName = "IPOutlookItemCollection";
  static constexpr Call kRelease = Call::IPOutlookItemCollection_Release;
  static bool Answers(const ce::IID& iid) {
    return iid == ce::IID_IPOutlookItemCollection || DispatchObject::Answers(iid);
  }

  ItemCollection(Phone& phone, INT folder) : DispatchObject(phone), m_folder(folder) {}

  HRESULT Add(ce::IDispatch** item) override {
    return Enter<Call::IPOutlookItemCollection_Add>(GetPhone(), [&] {
      if (item == nullptr) return ce::E_POINTER;
      *item = nullptr;
      if (m_folder != ce::olFolderContacts) return E_NOTIMPL;
      *item = new ContactObject(GetPhone(), {});
      return S_OK;
    });
  }

  HRESULT get_Count(INT* count) override {
    return Enter<Call::IPOutlookItemCollection_get_Count>(GetPhone(), [&] {
      if (count == nullptr) return ce::E_POINTER;
      *count = static_cast<INT>(Oids().size());
      return S_OK;
    });
  }

  HRESULT Item(INT index, ce::IDispatch** item) override {
    return Enter<Call::IPOutlookItemCollection_Item>(GetPhone(), [&] {
      if (item == nullptr) return ce::E_POINTER;
      *item = nullptr;
      const auto& oids = Oids();
      if (index < 1 || static_cast<std::size_t>(index) > oids.size()) return ce::E_INVALIDARG;
      *item = OpenItem(GetPhone(), oids[static_cast<std::size_t>(index) - 1]);
      return *item != nullptr ? S_OK : ce::E_FAIL;
    });
  }

  HRESULT Find(ce::BSTR, ce::IDispatch**) override { return E_NOTIMPL; }
  HRESULT FindNext(ce::IDispatch**) override { return E_NOTIMPL; }
  HRESULT Remove(INT) override { return E_NOTIMPL; }
  HRESULT Restrict(ce::BSTR, ce::IPOutlookItemCollection**) override { return E_NOTIMPL; }
  HRESULT Sort(ce::BSTR, ce::VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT get_IncludeRecurrences(ce::VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT put_IncludeRecurrences(ce::VARIANT_BOOL) override { return E_NOTIMPL; }
  HRESULT get__NewEnum(ce::IUnknown**) override { return E_NOTIMPL; }
  HRESULT get_Application(ce::IPOutlookApp**) override { return E_NOTIMPL; }

 private:
  const std::vector<std::uint32_t>& Oids() {
    const std::uint64_t generation = GetPhone().store.GetItemGeneration();
    if (generation != m_generation) {
      m_oids = GetPhone().store.Use([&](const SQLite::Database& database) { return SelectOids(database, m_folder); });
      m_generation = generation;
    }
    return m_oids;
  }

  const INT m_folder;
  std::vector<std::uint32_t> m_oids;
  std::optional<std::uint64_t> m_generation;  // of the list
};

}  // namespace

ce::IPOutlookItemCollection* NewItemCollection(Phone& phone, INT folder) { return new ItemCollection(phone, folder); }

ce::IDispatch* OpenItem(Phone& phone, std::uint32_t oid) {
  if (auto contact = phone.store.GetContact(oid)) return new ContactObject(phone, std::move(*contact));
  auto appointment =
      phone.store.Use([&](const SQLite::Database& database) { return SelectAppointment(database, oid); });
  return appointment ? NewAppointmentObject(phone, std::move(*appointment)) : nullptr;
}

}  // namespace handset
