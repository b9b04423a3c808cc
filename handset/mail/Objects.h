// The objects that entry ids name, and what the rows of tables say of them. All of them work on phone.db as it is when
// they are asked.
#pragma once

#include "handset/mail/EntryId.h"
#include "handset/mail/Properties.h"

namespace handset {

// What a name that no account, folder or message has, or has no more, is answered.
inline constexpr ce::HRESULT kInvalidEntryId = ce::Hresult(0x80040107);  // MAPI_E_INVALID_ENTRYID

// With one reference. Throw Failure: MAPI_E_NOT_FOUND when the thing is not there.
ce::IMsgStore* NewMsgStore(Phone& phone, std::int64_t account);
// The root of an account's message tree is its folder 0.
ce::IMAPIFolder* NewFolder(Phone& phone, std::int64_t account, std::int64_t folder);
ce::IMessage* NewMessage(Phone& phone, std::int64_t message);
ce::IMAPITable* NewStoresTable(Phone& phone);

// OpenEntry of the session and of a folder.
ce::HRESULT OpenEntry(Phone& phone, ce::ULONG idSize, const ce::ENTRYID* id, ce::ULONG* type, ce::IUnknown** object);

}  // namespace handset
