// cemapi: property tags and values, rows and sort orders. A tag's upper half is the property, its lower one the type.
#pragma once

#include "platform/Types.h"

namespace ce {

// Types.
inline constexpr ULONG PT_ERROR = 0x000A;

// mapitags.h; texts in their 16-bit form.
inline constexpr ULONG PR_SUBJECT = 0x0037001F;
inline constexpr ULONG PR_SENDER_NAME = 0x0C1A001F;
inline constexpr ULONG PR_SENDER_EMAIL_ADDRESS = 0x0C1F001F;
inline constexpr ULONG PR_MESSAGE_DELIVERY_TIME = 0x0E060040;
inline constexpr ULONG PR_ENTRYID = 0x0FFF0102;
inline constexpr ULONG PR_DISPLAY_NAME = 0x3001001F;
inline constexpr ULONG PR_EMAIL_ADDRESS = 0x3003001F;
inline constexpr ULONG PR_IPM_SUBTREE_ENTRYID = 0x35E00102;
inline constexpr ULONG PR_CONTENT_COUNT = 0x36020003;

// What a property that is missing has as its value, under its own number with the type PT_ERROR.
inline constexpr HRESULT MAPI_E_NOT_FOUND = Hresult(0x8004010F);
// A success: some of the values are errors.
inline constexpr HRESULT MAPI_W_ERRORS_RETURNED = Hresult(0x00040380);

inline constexpr ULONG MAPI_UNICODE = 0x80000000;

// A property value's bytes, cb of them.
struct SBinary {
  ULONG cb;
  BYTE* lpb;
};
CE_POINTER_LAYOUT(SBinary, 8, 4);

union PropertyValue {
  LONG l;
  WCHAR* lpszW;
  FILETIME ft;
  SBinary bin;
  HRESULT err;
  alignas(8) std::int64_t li;
};
CE_POINTER_LAYOUT(PropertyValue, 8, 8);

struct SPropValue {
  ULONG ulPropTag;
  ULONG dwAlignPad;
  PropertyValue Value;
};
CE_POINTER_LAYOUT(SPropValue, 16, 8);
CE_OFFSET(SPropValue, Value, 8);

struct SRow {
  ULONG ulAdrEntryPad;
  ULONG cValues;
  SPropValue* lpProps;
};
CE_POINTER_LAYOUT(SRow, 12, 4);

// As many rows as cRows says; a caller that reads one at a time looks at the first.
struct SRowSet {
  ULONG cRows;
  SRow aRow[1];
};
CE_POINTER_LAYOUT(SRowSet, 16, 4);

// As many tags as cValues says.
struct SPropTagArray {
  ULONG cValues;
  ULONG aulPropTag[1];
};
CE_LAYOUT(SPropTagArray, 8, 4);

struct SSortOrder {
  ULONG ulPropTag;
  ULONG ulOrder;
};
CE_LAYOUT(SSortOrder, 8, 4);

inline constexpr ULONG TABLE_SORT_ASCEND = 0;
inline constexpr ULONG TABLE_SORT_DESCEND = 1;

struct SSortOrderSet {
  ULONG cSorts;
  ULONG cCategories;
  ULONG cExpanded;
  SSortOrder aSort[1];
};
CE_LAYOUT(SSortOrderSet, 20, 4);

}  // namespace ce
