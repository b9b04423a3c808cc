#include "platform/User.h"

#include "handset/Enter.h"

namespace ce {

INT MessageBoxW(HWND, LPCWSTR text, LPCWSTR caption, DWORD type) {
  handset::Phone& phone = handset::ThisPhone();
  return handset::Enter<handset::Call::MessageBoxW>(phone, [&] {
    // A box without a caption is an error box.
    return phone.boxes.Show(text != nullptr ? text : u"", caption != nullptr ? caption : u"Error", type);
  });
}

}  // namespace ce
