#include "agent/modules/phone/MailPath.h"

#include "agent/modules/phone/MapiData.h"

namespace {

constexpr PropTags kNameAndId{2, ce::PR_DISPLAY_NAME, ce::PR_ENTRYID};
constexpr PropTags kMessageColumns{CMailPath::kColumnCount, ce::PR_SENDER_NAME, ce::PR_SUBJECT,
                                   ce::PR_MESSAGE_DELIVERY_TIME, ce::PR_ENTRYID};
constexpr ce::SSortOrderSet kNewestFirst{1, 0, 0, {{ce::PR_MESSAGE_DELIVERY_TIME, ce::TABLE_SORT_DESCEND}}};

ce::ENTRYID* IdOf(const ce::SBinary& bytes) { return reinterpret_cast<ce::ENTRYID*>(bytes.lpb); }

// The code that stands in place of a value, or the one that says that there is none.
std::uint32_t WhyMissing(const ce::SPropValue& value) {
  const bool isError = (value.ulPropTag & 0xFFFF) == ce::PT_ERROR && value.Value.err < 0;
  return static_cast<std::uint32_t>(isError ? value.Value.err : ce::MAPI_E_NOT_FOUND);
}

// Looks for the first row of this name, exactly, and opens what its entry id names: open(const SBinary&). Reading ends
// at the table's end and at a row that has not two values.
template <class Open>
std::uint32_t FindByName(ce::IMAPITable& table, std::u16string_view name, Open open) {
  ce::HRESULT result = table.SetColumns(kNameAndId.Get(), 0);
  while (result >= 0) {
    CTableRow rows;
    result = rows.ReadNext(table);
    const ce::SRow* row = rows.Get();
    if (result < 0) {
      break;
    }
    if (row == nullptr || row->cValues != 2) {
      return kNothingFound;
    }
    if (TextOf(row->lpProps[0], ce::PR_DISPLAY_NAME) == name) {
      const ce::SPropValue& id = row->lpProps[1];
      return id.ulPropTag == ce::PR_ENTRYID ? OutcomeOf(open(id.Value.bin)) : WhyMissing(id);
    }
  }
  return OutcomeOf(result);
}

ce::HRESULT OpenFolderEntry(ce::IMAPISession& session, const ce::SBinary& id, CComReference<ce::IMAPIFolder>& folder) {
  CComReference<ce::IUnknown> entry;
  ce::ULONG type = 0;
  const ce::HRESULT result = session.OpenEntry(id.cb, IdOf(id), nullptr, 0, &type, entry.Receive());
  if (result >= 0) {
    folder.Take(std::move(entry));
  }
  return result;
}

}  // namespace

std::uint32_t ReadNeeded(ce::IMAPIProp& object, ce::ULONG tag, CPropValue& value) {
  const ce::HRESULT result = value.Read(object, tag);
  if (result < 0) {
    return OutcomeOf(result);
  }
  if (value.Get() == nullptr) {
    return static_cast<std::uint32_t>(ce::MAPI_E_NOT_FOUND);
  }
  return value.Get()->ulPropTag == tag ? 0 : WhyMissing(*value.Get());
}

std::uint32_t CMailPath::OpenAccount(ce::IMAPISession& session, std::u16string_view account) {
  std::uint32_t outcome = OutcomeOf(session.GetMsgStoresTable(0, stores.Receive()));
  if (outcome == 0) {
    outcome = FindByName(*stores, account, [&](const ce::SBinary& id) {
      return session.OpenMsgStore(0, id.cb, IdOf(id), nullptr, 0, store.Receive());
    });
  }
  CPropValue subtree;
  if (outcome == 0) {
    outcome = ReadNeeded(*store, ce::PR_IPM_SUBTREE_ENTRYID, subtree);
  }
  return outcome == 0 ? OutcomeOf(OpenFolderEntry(session, subtree.Get()->Value.bin, root)) : outcome;
}

std::uint32_t CMailPath::OpenFolderList(ce::IMAPISession& session, std::u16string_view account) {
  const std::uint32_t outcome = OpenAccount(session, account);
  return outcome == 0 ? OutcomeOf(root->GetHierarchyTable(0, hierarchy.Receive())) : outcome;
}

std::uint32_t CMailPath::OpenFolder(ce::IMAPISession& session, std::u16string_view account, std::u16string_view name) {
  const std::uint32_t outcome = OpenFolderList(session, account);
  if (outcome != 0) {
    return outcome;
  }
  return FindByName(*hierarchy, name, [&](const ce::SBinary& id) { return OpenFolderEntry(session, id, folder); });
}

std::uint32_t CMailPath::OpenMessages(ce::IMAPISession& session, std::u16string_view account,
                                      std::u16string_view name) {
  const std::uint32_t outcome = OpenFolder(session, account, name);
  if (outcome != 0) {
    return outcome;
  }
  ce::HRESULT result = folder->GetContentsTable(0, contents.Receive());
  if (result >= 0) {
    result = contents->SortTable(&kNewestFirst, 0);
  }
  if (result >= 0) {
    result = contents->SetColumns(kMessageColumns.Get(), 0);
  }
  return OutcomeOf(result);
}

void CMailPath::Close() {
  contents.Reset();
  folder.Reset();
  hierarchy.Reset();
  root.Reset();
  store.Reset();
  stores.Reset();
}
