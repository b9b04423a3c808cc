// The desktop's reading of contact documents of a phone that says anything: what it reads can be shown, exported and
// written back, and is the same afterwards.
#include <cstdlib>
#include <string>

#include "desktop/Failure.h"
#include "desktop/contacts/ContactDocument.h"
#include "desktop/contacts/ContactJson.h"
#include "fuzz/VCardRoundTrip.h"

namespace {

constexpr std::string_view kRoot = "<contactentry>";

// A contact that the wire can carry says the same when it is read again.
void NeedSameFromTheWire(const brelix::Contact& contact) {
  if (!brelix::ObstaclesTo(contact).empty()) return;
  std::string document = brelix::WriteContactDocument(contact, brelix::EmptyFileAs::kClear);
  document.insert(document.find(kRoot) + kRoot.size(), "<oid>1</oid>");
  if (!brelix::Changes(contact, brelix::ReadContactDocument(document)).empty()) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  brelix::Contact contact;
  try {
    contact = brelix::ReadContactDocument({reinterpret_cast<const char*>(bytes), size});
  } catch (const brelix::Failure&) {
    return 0;
  }
  brelix::ToJsonWithPicture(contact).dump();  // throws for what is no UTF-8
  NeedSameFromTheWire(contact);
  NeedSameFromTheWire(brelix::Shortened(contact));
  fuzz::NeedSameFromAVCard(contact);
  return 0;
}
