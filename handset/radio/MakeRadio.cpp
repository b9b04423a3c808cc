#include "handset/Errors.h"
#include "handset/radio/ScriptedRadio.h"

namespace handset {

std::unique_ptr<Radio> MakeRadio(RadioProvider provider, Phone& phone) {
  switch (provider) {
    case RadioProvider::kScripted:
      return std::make_unique<ScriptedRadio>(phone);
    case RadioProvider::kBluez:
      break;
  }
  throw RadioError("this program was built without the system's Bluetooth; use a scripted radio");
}

}  // namespace handset
