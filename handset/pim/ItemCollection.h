// The items of a Pocket Outlook folder.
#pragma once

#include "platform/PocketOutlook.h"

namespace handset {

struct Phone;

// A new collection with one reference.
ce::IPOutlookItemCollection* NewItemCollection(Phone& phone, ce::INT folder);

// The item with this object id as the interface of its kind, with one reference; null when there is none.
ce::IDispatch* OpenItem(Phone& phone, std::uint32_t oid);

}  // namespace handset
