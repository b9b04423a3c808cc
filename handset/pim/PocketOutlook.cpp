#include "handset/pim/PocketOutlook.h"

#include "handset/com/ComObject.h"
#include "handset/pim/ItemCollection.h"

namespace handset {

namespace {

using ce::E_NOTIMPL;
using ce::HRESULT;
using ce::INT;
using ce::LONG;
using ce::S_OK;

class Folder final : public DispatchObject<Folder, ce::IFolder> {
 public:
  static constexpr const char* kName = "IFolder";
  static constexpr Call kRelease = Call::IFolder_Release;
  static bool Answers(const ce::IID& iid) { return iid == ce::IID_IFolder || DispatchObject::Answers(iid); }

  Folder(Phone& phone, INT folder) : DispatchObject(phone), m_folder(folder) {}

  HRESULT get_Items(ce::IPOutlookItemCollection** items) override {
    return Enter<Call::IFolder_get_Items>(GetPhone(), [&] {
      if (items == nullptr) return ce::E_POINTER;
      *items = NewItemCollection(GetPhone(), m_folder);
      return S_OK;
    });
  }

  HRESULT get_DefaultItemType(INT*) override { return E_NOTIMPL; }
  HRESULT get_Application(ce::IPOutlookApp**) override { return E_NOTIMPL; }
  HRESULT AddItemToInfraredFolder(INT, ce::IDispatch*) override { return E_NOTIMPL; }
  HRESULT SendToInfrared() override { return E_NOTIMPL; }
  HRESULT ReceiveFromInfrared(ce::IPOutlookItemCollection**) override { return E_NOTIMPL; }

 private:
  const INT m_folder;
};

class OutlookApp final : public DispatchObject<OutlookApp, ce::IPOutlookApp> {
 public:
  static constexpr const char* kName = "IPOutlookApp";
  static constexpr Call kRelease = Call::IPOutlookApp_Release;
  static bool Answers(const ce::IID& iid) { return iid == ce::IID_IPOutlookApp || DispatchObject::Answers(iid); }

  explicit OutlookApp(Phone& phone) : DispatchObject(phone) {}

  HRESULT Logon(LONG) override {
    return Enter<Call::IPOutlookApp_Logon>(GetPhone(), [&] {
      if (m_loggedOn.exchange(true)) return ce::E_FAIL;
      GetPhone().ledger->Hold(Held::kPoomLogon, GetId());
      return S_OK;
    });
  }

  HRESULT Logoff() override {
    const auto logOff = [&] {
      if (!m_loggedOn.exchange(false)) return ce::E_FAIL;
      GetPhone().ledger->Drop(Held::kPoomLogon, GetId());
      return S_OK;
    };
    return Enter<Call::IPOutlookApp_Logoff>(GetPhone(), logOff,
                                            [&] { GetPhone().ledger->Refuse(Held::kPoomLogon, GetId()); });
  }

  HRESULT GetDefaultFolder(INT folder, ce::IFolder** result) override {
    return Enter<Call::IPOutlookApp_GetDefaultFolder>(GetPhone(), [&] {
      if (result == nullptr) return ce::E_POINTER;
      *result = nullptr;
      if (!m_loggedOn) return ce::E_FAIL;
      if (folder != ce::olFolderCalendar && folder != ce::olFolderContacts) return ce::E_INVALIDARG;
      *result = new Folder(GetPhone(), folder);
      return S_OK;
    });
  }

  HRESULT GetItemFromOid(LONG oid, ce::IDispatch** item) override {
    return Enter<Call::IPOutlookApp_GetItemFromOid>(GetPhone(), [&] {
      if (item == nullptr) return ce::E_POINTER;
      *item = nullptr;
      if (!m_loggedOn) return ce::E_FAIL;
      *item = OpenItem(GetPhone(), static_cast<std::uint32_t>(oid));
      return *item != nullptr ? S_OK : ce::E_INVALIDARG;
    });
  }

  HRESULT get_Version(ce::BSTR*) override { return E_NOTIMPL; }
  HRESULT CreateItem(INT, ce::IDispatch**) override { return E_NOTIMPL; }
  HRESULT get_HomeCity(ce::ICity**) override { return E_NOTIMPL; }
  HRESULT put_HomeCity(ce::ICity*) override { return E_NOTIMPL; }
  HRESULT get_VisitingCity(ce::ICity**) override { return E_NOTIMPL; }
  HRESULT put_VisitingCity(ce::ICity*) override { return E_NOTIMPL; }
  HRESULT get_CurrentCityIndex(LONG*) override { return E_NOTIMPL; }
  HRESULT put_CurrentCityIndex(LONG) override { return E_NOTIMPL; }
  HRESULT ReceiveFromInfrared() override { return E_NOTIMPL; }
  HRESULT get_OutlookCompatible(ce::VARIANT_BOOL*) override { return E_NOTIMPL; }
  HRESULT GetTimeZoneFromIndex(INT, ce::ITimeZone**) override { return E_NOTIMPL; }
  HRESULT GetTimeZoneInformationFromIndex(INT, ce::TIME_ZONE_INFORMATION*) override { return E_NOTIMPL; }
  HRESULT get_Application(ce::IPOutlookApp**) override { return E_NOTIMPL; }
  HRESULT SysFreeString(ce::BSTR) override { return E_NOTIMPL; }
  HRESULT VariantTimeToSystemTime(ce::DATE, ce::SYSTEMTIME*) override { return E_NOTIMPL; }
  HRESULT SystemTimeToVariantTime(ce::SYSTEMTIME*, ce::DATE*) override { return E_NOTIMPL; }

 private:
  std::atomic<bool> m_loggedOn{false};
};

}  // namespace

ce::HRESULT CreateOutlookApp(Phone& phone, const ce::IID& iid, void** object) {
  if (iid != kIidUnknown && !OutlookApp::Answers(iid)) return ce::E_NOINTERFACE;
  *object = static_cast<ce::IPOutlookApp*>(new OutlookApp(phone));
  return S_OK;
}

}  // namespace handset
