// The Pocket Outlook application object.
#pragma once

#include "platform/PocketOutlook.h"

namespace handset {

struct Phone;

// A new one with one reference, or E_NOINTERFACE.
ce::HRESULT CreateOutlookApp(Phone& phone, const ce::IID& iid, void** object);

}  // namespace handset
