// A text that the phone library handed out, given back with the scope.
#pragma once

#include <string_view>

#include "platform/Kernel.h"

class CPhoneText {
 public:
  explicit CPhoneText(ce::WCHAR* text) : m_text(text) {}
  ~CPhoneText() {
    if (m_text != nullptr) {
      ce::LocalFree(m_text);
    }
  }
  CPhoneText(const CPhoneText&) = delete;
  CPhoneText& operator=(const CPhoneText&) = delete;

  bool IsNull() const { return m_text == nullptr; }
  std::u16string_view View() const { return m_text; }

 private:
  ce::WCHAR* m_text;
};
