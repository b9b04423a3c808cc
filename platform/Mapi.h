// cemapi: Extended MAPI as Windows CE has it: start-up, memory and the session, every slot in its order.
#pragma once

#include "platform/MapiObjects.h"

namespace ce {

struct IAddrBook;
struct IProfSect;
struct IMsgServiceAdmin;

// What an object that was opened by its entry id is.
inline constexpr ULONG MAPI_STORE = 1;
inline constexpr ULONG MAPI_FOLDER = 3;
inline constexpr ULONG MAPI_MESSAGE = 5;

// Windows Mobile answers most of the desktop's slots with "not supported"; they keep their places.
struct IMAPISession : IUnknown {
  virtual HRESULT GetLastError(HRESULT result, ULONG flags, MAPIERROR** error) = 0;
  virtual HRESULT GetMsgStoresTable(ULONG flags, IMAPITable** table) = 0;
  virtual HRESULT OpenMsgStore(ULONG window, ULONG idSize, ENTRYID* id, const IID* iid, ULONG flags,
                               IMsgStore** store) = 0;
  virtual HRESULT OpenAddressBook(ULONG window, const IID* iid, ULONG flags, IAddrBook** book) = 0;
  virtual HRESULT OpenProfileSection(MAPIUID* uid, const IID* iid, ULONG flags, IProfSect** section) = 0;
  virtual HRESULT GetStatusTable(ULONG flags, IMAPITable** table) = 0;
  virtual HRESULT OpenEntry(ULONG idSize, ENTRYID* id, const IID* iid, ULONG flags, ULONG* type, IUnknown** object) = 0;
  virtual HRESULT CompareEntryIDs(ULONG size1, ENTRYID* id1, ULONG size2, ENTRYID* id2, ULONG flags, ULONG* result) = 0;
  virtual HRESULT Advise(ULONG idSize, ENTRYID* id, ULONG mask, IMAPIAdviseSink* sink, ULONG* connection) = 0;
  virtual HRESULT Unadvise(ULONG connection) = 0;
  virtual HRESULT MessageOptions(ULONG window, ULONG flags, WCHAR* type, IMessage* message) = 0;
  virtual HRESULT QueryDefaultMessageOpt(WCHAR* type, ULONG flags, ULONG* count, SPropValue** options) = 0;
  virtual HRESULT EnumAdrTypes(ULONG flags, ULONG* count, WCHAR*** types) = 0;
  virtual HRESULT QueryIdentity(ULONG* size, ENTRYID** id) = 0;
  virtual HRESULT Logoff(ULONG window, ULONG flags, ULONG reserved) = 0;
  virtual HRESULT SetDefaultStore(ULONG flags, ULONG idSize, ENTRYID* id) = 0;
  virtual HRESULT AdminServices(ULONG flags, IMsgServiceAdmin** admin) = 0;
  virtual HRESULT ShowForm(ULONG window, IMsgStore* store, void* folder, const IID* iid, ULONG token, IMessage* sent,
                           ULONG flags, ULONG status, ULONG messageFlags, ULONG access, char* className) = 0;
  virtual HRESULT PrepareForm(const IID* iid, IMessage* message, ULONG* token) = 0;
  // ICEMAPISession, which is what MAPILogonEx hands out, goes on with these two.
  virtual HRESULT CreateMsgStore(LPCWSTR name, IMsgStore** store) = 0;
  virtual HRESULT DeleteMsgStore(ULONG idSize, ENTRYID* id) = 0;
};

HRESULT MAPIInitialize(void* init) CE_SYMBOL("MAPIInitialize");
void MAPIUninitialize() CE_SYMBOL("MAPIUninitialize");
HRESULT MAPILogonEx(ULONG window, WCHAR* profile, WCHAR* password, ULONG flags, IMAPISession** session)
    CE_SYMBOL("MAPILogonEx");
// S_OK, also for null.
ULONG MAPIFreeBuffer(void* buffer) CE_SYMBOL("MAPIFreeBuffer");
// Frees a set with its rows. A set without rows is freed with MAPIFreeBuffer.
void FreeProws(SRowSet* rows) CE_SYMBOL("FreeProws");

}  // namespace ce
