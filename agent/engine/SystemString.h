// A text of the phone's automation: allocated by the phone, given back with the scope. Null is no text at all, which is
// not the same as an empty one.
#pragma once

#include <string_view>

#include "platform/Automation.h"

class CSystemString {
 public:
  CSystemString() = default;
  ~CSystemString() { Reset(); }
  CSystemString(const CSystemString&) = delete;
  CSystemString& operator=(const CSystemString&) = delete;

  // Where a call puts the text that it gives.
  ce::BSTR* Receive() {
    Reset();
    return &m_text;
  }
  // False without memory.
  bool Copy(ce::LPCWSTR text) {
    Reset();
    m_text = ce::SysAllocString(text);
    return m_text != nullptr;
  }
  void Reset() {
    ce::SysFreeString(m_text);
    m_text = nullptr;
  }

  bool IsNull() const { return m_text == nullptr; }
  ce::BSTR Get() const { return m_text; }
  // Up to the terminating 0; empty for null.
  std::u16string_view View() const { return m_text == nullptr ? std::u16string_view() : std::u16string_view(m_text); }

 private:
  ce::BSTR m_text = nullptr;
};
