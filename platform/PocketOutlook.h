// pimstore: the Pocket Outlook object model, every slot in its order.
#pragma once

#include "platform/Com.h"

namespace ce {

inline constexpr CLSID CLSID_Application{0x05058F23, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline constexpr IID IID_IPOutlookApp{0x05058F22, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};

inline constexpr IID IID_IFolder{0x05058F20, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline constexpr IID IID_IPOutlookItemCollection{
    0xF06748C0, 0x21A5, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};

// VARIANT_BOOL
inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

inline constexpr INT olFolderCalendar = 9;
inline constexpr INT olFolderContacts = 10;

struct ICity;
struct ITimeZone;
struct TIME_ZONE_INFORMATION;
struct IFolder;
struct IPOutlookItemCollection;

struct IPOutlookApp : IDispatch {
  virtual HRESULT Logon(LONG window) = 0;
  virtual HRESULT Logoff() = 0;
  virtual HRESULT get_Version(BSTR* version) = 0;
  virtual HRESULT GetDefaultFolder(INT folder, IFolder** result) = 0;
  virtual HRESULT CreateItem(INT type, IDispatch** item) = 0;
  // The item is the dual interface of its kind: what Item, Add and this answer for a contact is its IContact.
  virtual HRESULT GetItemFromOid(LONG oid, IDispatch** item) = 0;
  virtual HRESULT get_HomeCity(ICity** city) = 0;
  virtual HRESULT put_HomeCity(ICity* city) = 0;
  virtual HRESULT get_VisitingCity(ICity** city) = 0;
  virtual HRESULT put_VisitingCity(ICity* city) = 0;
  virtual HRESULT get_CurrentCityIndex(LONG* index) = 0;
  virtual HRESULT put_CurrentCityIndex(LONG index) = 0;
  virtual HRESULT ReceiveFromInfrared() = 0;
  virtual HRESULT get_OutlookCompatible(VARIANT_BOOL* compatible) = 0;
  virtual HRESULT GetTimeZoneFromIndex(INT index, ITimeZone** zone) = 0;
  virtual HRESULT GetTimeZoneInformationFromIndex(INT index, TIME_ZONE_INFORMATION* zone) = 0;
  virtual HRESULT get_Application(IPOutlookApp** app) = 0;
  virtual HRESULT SysFreeString(BSTR text) = 0;
  virtual HRESULT VariantTimeToSystemTime(DATE date, SYSTEMTIME* time) = 0;
  virtual HRESULT SystemTimeToVariantTime(SYSTEMTIME* time, DATE* date) = 0;
};

struct IFolder : IDispatch {
  virtual HRESULT get_Items(IPOutlookItemCollection** items) = 0;
  virtual HRESULT get_DefaultItemType(INT* type) = 0;
  virtual HRESULT get_Application(IPOutlookApp** app) = 0;
  virtual HRESULT AddItemToInfraredFolder(INT type, IDispatch* item) = 0;
  virtual HRESULT SendToInfrared() = 0;
  virtual HRESULT ReceiveFromInfrared(IPOutlookItemCollection** items) = 0;
};

struct IPOutlookItemCollection : IDispatch {
  virtual HRESULT Add(IDispatch** item) = 0;
  virtual HRESULT get_Count(INT* count) = 0;
  virtual HRESULT Find(BSTR restriction, IDispatch** item) = 0;
  virtual HRESULT FindNext(IDispatch** item) = 0;
  // 1-based.
  virtual HRESULT Item(INT index, IDispatch** item) = 0;
  virtual HRESULT Remove(INT index) = 0;
  virtual HRESULT Restrict(BSTR restriction, IPOutlookItemCollection** items) = 0;
  virtual HRESULT Sort(BSTR property, VARIANT_BOOL descending) = 0;
  virtual HRESULT get_IncludeRecurrences(VARIANT_BOOL* include) = 0;
  virtual HRESULT put_IncludeRecurrences(VARIANT_BOOL include) = 0;
  virtual HRESULT get__NewEnum(IUnknown** enumerator) = 0;
  virtual HRESULT get_Application(IPOutlookApp** app) = 0;
};

}  // namespace ce
