// cemapi: tables, stores, folders and messages, every slot in its order. What Windows Mobile does not support keeps its
// place and answers so.
#pragma once

#include "platform/Com.h"
#include "platform/MapiProperties.h"

namespace ce {

struct MAPIERROR;
struct MAPINAMEID;
struct MAPIUID;
struct ENTRYID;
struct ENTRYLIST;
struct ADRLIST;
struct SRestriction;
struct SPropProblemArray;
struct NOTIFICATION;
struct IMAPIAdviseSink;
struct IMAPIProgress;
struct IAttach;
struct IMessage;

struct IMAPITable : IUnknown {
  virtual HRESULT GetLastError(HRESULT result, ULONG flags, MAPIERROR** error) = 0;
  virtual HRESULT Advise(ULONG mask, IMAPIAdviseSink* sink, ULONG* connection) = 0;
  virtual HRESULT Unadvise(ULONG connection) = 0;
  virtual HRESULT GetStatus(ULONG* status, ULONG* type) = 0;
  // Every row from now on has these columns, in this order.
  virtual HRESULT SetColumns(const SPropTagArray* columns, ULONG flags) = 0;
  virtual HRESULT QueryColumns(ULONG flags, SPropTagArray** columns) = 0;
  virtual HRESULT GetRowCount(ULONG flags, ULONG* count) = 0;
  virtual HRESULT SeekRow(ULONG bookmark, LONG rows, LONG* sought) = 0;
  virtual HRESULT SeekRowApprox(ULONG numerator, ULONG denominator) = 0;
  virtual HRESULT QueryPosition(ULONG* row, ULONG* numerator, ULONG* denominator) = 0;
  virtual HRESULT FindRow(SRestriction* restriction, ULONG bookmark, ULONG flags) = 0;
  virtual HRESULT Restrict(SRestriction* restriction, ULONG flags) = 0;
  virtual HRESULT CreateBookmark(ULONG* bookmark) = 0;
  virtual HRESULT FreeBookmark(ULONG bookmark) = 0;
  virtual HRESULT SortTable(const SSortOrderSet* order, ULONG flags) = 0;
  virtual HRESULT QuerySortOrder(SSortOrderSet** order) = 0;
  // Reads on from the table's place. A set without rows at the end; the caller frees either.
  virtual HRESULT QueryRows(LONG count, ULONG flags, SRowSet** rows) = 0;
  virtual HRESULT Abort() = 0;
  virtual HRESULT ExpandRow(ULONG keySize, BYTE* key, ULONG count, ULONG flags, SRowSet** rows, ULONG* more) = 0;
  virtual HRESULT CollapseRow(ULONG keySize, BYTE* key, ULONG flags, ULONG* count) = 0;
  virtual HRESULT WaitForCompletion(ULONG flags, ULONG milliseconds, ULONG* status) = 0;
  virtual HRESULT GetCollapseState(ULONG flags, ULONG keySize, BYTE* key, ULONG* size, BYTE** state) = 0;
  virtual HRESULT SetCollapseState(ULONG flags, ULONG size, BYTE* state, ULONG* bookmark) = 0;
};

struct IMAPIProp : IUnknown {
  virtual HRESULT GetLastError(HRESULT result, ULONG flags, MAPIERROR** error) = 0;
  virtual HRESULT SaveChanges(ULONG flags) = 0;
  // As many values as tags, for the caller to MAPIFreeBuffer; what is missing is an error value and the result says so.
  virtual HRESULT GetProps(const SPropTagArray* tags, ULONG flags, ULONG* count, SPropValue** values) = 0;
  virtual HRESULT GetPropList(ULONG flags, SPropTagArray** tags) = 0;
  virtual HRESULT OpenProperty(ULONG tag, const IID* iid, ULONG options, ULONG flags, IUnknown** object) = 0;
  virtual HRESULT SetProps(ULONG count, SPropValue* values, SPropProblemArray** problems) = 0;
  virtual HRESULT DeleteProps(SPropTagArray* tags, SPropProblemArray** problems) = 0;
  virtual HRESULT CopyTo(ULONG excludedCount, const IID* excluded, SPropTagArray* excludedTags, ULONG window,
                         IMAPIProgress* progress, const IID* iid, void* target, ULONG flags,
                         SPropProblemArray** problems) = 0;
  virtual HRESULT CopyProps(SPropTagArray* tags, ULONG window, IMAPIProgress* progress, const IID* iid, void* target,
                            ULONG flags, SPropProblemArray** problems) = 0;
  virtual HRESULT GetNamesFromIDs(SPropTagArray** tags, GUID* set, ULONG flags, ULONG* count, MAPINAMEID*** names) = 0;
  virtual HRESULT GetIDsFromNames(ULONG count, MAPINAMEID** names, ULONG flags, SPropTagArray** tags) = 0;
};

struct IMsgStore : IMAPIProp {
  virtual HRESULT Advise(ULONG idSize, ENTRYID* id, ULONG mask, IMAPIAdviseSink* sink, ULONG* connection) = 0;
  virtual HRESULT Unadvise(ULONG connection) = 0;
  virtual HRESULT CompareEntryIDs(ULONG size1, ENTRYID* id1, ULONG size2, ENTRYID* id2, ULONG flags, ULONG* result) = 0;
  virtual HRESULT OpenEntry(ULONG idSize, ENTRYID* id, const IID* iid, ULONG flags, ULONG* type, IUnknown** object) = 0;
  virtual HRESULT SetReceiveFolder(WCHAR* messageClass, ULONG flags, ULONG idSize, ENTRYID* id) = 0;
  virtual HRESULT GetReceiveFolder(WCHAR* messageClass, ULONG flags, ULONG* idSize, ENTRYID** id,
                                   WCHAR** explicitClass) = 0;
  virtual HRESULT GetReceiveFolderTable(ULONG flags, IMAPITable** table) = 0;
  virtual HRESULT StoreLogoff(ULONG* flags) = 0;
  virtual HRESULT AbortSubmit(ULONG idSize, ENTRYID* id, ULONG flags) = 0;
  virtual HRESULT GetOutgoingQueue(ULONG flags, IMAPITable** table) = 0;
  virtual HRESULT SetLockState(IMessage* message, ULONG state) = 0;
  virtual HRESULT FinishedMsg(ULONG flags, ULONG idSize, ENTRYID* id) = 0;
  virtual HRESULT NotifyNewMail(NOTIFICATION* notification) = 0;
};

struct IMAPIContainer : IMAPIProp {
  virtual HRESULT GetContentsTable(ULONG flags, IMAPITable** table) = 0;
  virtual HRESULT GetHierarchyTable(ULONG flags, IMAPITable** table) = 0;
  virtual HRESULT OpenEntry(ULONG idSize, ENTRYID* id, const IID* iid, ULONG flags, ULONG* type, IUnknown** object) = 0;
  virtual HRESULT SetSearchCriteria(SRestriction* restriction, ENTRYLIST* containers, ULONG flags) = 0;
  virtual HRESULT GetSearchCriteria(ULONG flags, SRestriction** restriction, ENTRYLIST** containers, ULONG* state) = 0;
};

struct IMAPIFolder : IMAPIContainer {
  virtual HRESULT CreateMessage(const IID* iid, ULONG flags, IMessage** message) = 0;
  virtual HRESULT CopyMessages(ENTRYLIST* messages, const IID* iid, void* target, ULONG window, IMAPIProgress* progress,
                               ULONG flags) = 0;
  virtual HRESULT DeleteMessages(ENTRYLIST* messages, ULONG window, IMAPIProgress* progress, ULONG flags) = 0;
  virtual HRESULT CreateFolder(ULONG type, WCHAR* name, WCHAR* comment, const IID* iid, ULONG flags,
                               IMAPIFolder** folder) = 0;
  virtual HRESULT CopyFolder(ULONG idSize, ENTRYID* id, const IID* iid, void* target, WCHAR* name, ULONG window,
                             IMAPIProgress* progress, ULONG flags) = 0;
  virtual HRESULT DeleteFolder(ULONG idSize, ENTRYID* id, ULONG window, IMAPIProgress* progress, ULONG flags) = 0;
  virtual HRESULT SetReadFlags(ENTRYLIST* messages, ULONG window, IMAPIProgress* progress, ULONG flags) = 0;
  virtual HRESULT GetMessageStatus(ULONG idSize, ENTRYID* id, ULONG flags, ULONG* status) = 0;
  virtual HRESULT SetMessageStatus(ULONG idSize, ENTRYID* id, ULONG status, ULONG mask, ULONG* old) = 0;
  virtual HRESULT SaveContentsSort(SSortOrderSet* order, ULONG flags) = 0;
  virtual HRESULT EmptyFolder(ULONG window, IMAPIProgress* progress, ULONG flags) = 0;
};

struct IMessage : IMAPIProp {
  virtual HRESULT GetAttachmentTable(ULONG flags, IMAPITable** table) = 0;
  virtual HRESULT OpenAttach(ULONG number, const IID* iid, ULONG flags, IAttach** attachment) = 0;
  virtual HRESULT CreateAttach(const IID* iid, ULONG flags, ULONG* number, IAttach** attachment) = 0;
  virtual HRESULT DeleteAttach(ULONG number, ULONG window, IMAPIProgress* progress, ULONG flags) = 0;
  virtual HRESULT GetRecipientTable(ULONG flags, IMAPITable** table) = 0;
  virtual HRESULT ModifyRecipients(ULONG flags, ADRLIST* recipients) = 0;
  virtual HRESULT SubmitMessage(ULONG flags) = 0;
  virtual HRESULT SetReadFlag(ULONG flags) = 0;
};

}  // namespace ce
