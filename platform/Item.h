// pimstore of Windows Mobile 5 and later: an item by property ids, and the records of properties. Behind every item of
// the object model there is one; QueryInterface finds it.
#pragma once

#include "platform/PocketOutlook.h"

namespace ce {

inline constexpr IID IID_IItem{0xFB8998D0, 0x38F0, 0x4D12, {0xAC, 0x56, 0x4E, 0xC8, 0xFC, 0xE9, 0xF3, 0xD5}};

// The upper half is the property, the lower one its type: 0x1F a text, 0x64 a stream.
using CEPROPID = DWORD;

inline constexpr CEPROPID PIMPR_NICKNAME = 0x0086001F;
inline constexpr CEPROPID PIMPR_MANAGER = 0x008D001F;
inline constexpr CEPROPID PIMPR_IM1_ADDRESS = 0x0093001F;
inline constexpr CEPROPID PIMPR_IM2_ADDRESS = 0x0094001F;
inline constexpr CEPROPID PIMPR_IM3_ADDRESS = 0x0095001F;
inline constexpr CEPROPID PIMPR_CUSTOMERID = 0x00A9001F;
inline constexpr CEPROPID PIMPR_GOVERNMENTID = 0x00AA001F;
inline constexpr CEPROPID PIMPR_ACCOUNT_NAME = 0x00AB001F;
inline constexpr CEPROPID PIMPR_PICTURE = 0x00FF0064;

struct CEBLOB {
  DWORD dwCount;
  BYTE* lpb;
};
CE_POINTER_LAYOUT(CEBLOB, 8, 4);

union CEVALUNION {
  std::int16_t iVal;
  WORD uiVal;
  LONG lVal;
  ULONG ulVal;
  FILETIME filetime;
  WCHAR* lpwstr;
  CEBLOB blob;
  BOOL boolVal;
  alignas(8) double dblVal;
};
CE_POINTER_LAYOUT(CEVALUNION, 8, 8);

struct CEPROPVAL {
  CEPROPID propid;
  WORD wLenData;  // the store's own
  WORD wFlags;
  CEVALUNION val;
};
CE_POINTER_LAYOUT(CEPROPVAL, 16, 8);
CE_OFFSET(CEPROPVAL, wFlags, 6);
CE_OFFSET(CEPROPVAL, val, 8);

// CEPROPVAL.wFlags of a property that the item has not.
inline constexpr WORD CEDB_PROPNOTFOUND = 0x0100;

// Flag of GetProps: the records come in one block of the given heap, texts behind them, for the caller to HeapFree.
inline constexpr DWORD CEDB_ALLOWREALLOC = 1;

struct IItem : IUnknown {
  // Answers as many records as ids were asked for, in their order; byteCount is the block's size.
  virtual HRESULT GetProps(const CEPROPID* ids, ULONG flags, WORD count, CEPROPVAL** values, ULONG* byteCount,
                           HANDLE heap) = 0;
  virtual HRESULT SetProps(ULONG flags, WORD count, CEPROPVAL* values) = 0;
  virtual HRESULT Save() = 0;
  virtual HRESULT Delete() = 0;
  virtual HRESULT Display(HWND parent) = 0;
  virtual HRESULT Edit(HWND parent) = 0;
  virtual HRESULT Copy(IItem** copy) = 0;
  virtual HRESULT get_Oid(LONG* value) = 0;
  // mode: GENERIC_READ or GENERIC_WRITE.
  virtual HRESULT OpenProperty(CEPROPID id, DWORD mode, IStream** stream) = 0;
  virtual HRESULT get_DefaultItemType(INT* value) = 0;
  virtual HRESULT get_Application(IPOutlookApp** app) = 0;
  virtual HRESULT get_Parent(IFolder** folder) = 0;
  virtual HRESULT AddCategory(LPCWSTR category) = 0;
  virtual HRESULT RemoveCategory(LPCWSTR category) = 0;
};

}  // namespace ce
