// An open registry key, closed with the scope.
#pragma once

#include "platform/Registry.h"

inline constexpr ce::DWORD kKeyRead = 0x20019;  // KEY_READ of winnt.h

class CRegistryKey {
 public:
  CRegistryKey() = default;
  ~CRegistryKey() {
    if (m_open) {
      ce::RegCloseKey(m_key);
    }
  }
  CRegistryKey(const CRegistryKey&) = delete;
  CRegistryKey& operator=(const CRegistryKey&) = delete;

  // For reading. 0, or the registry's error code.
  ce::LONG Open(ce::HKEY root, const char16_t* path) {
    const ce::LONG result = ce::RegOpenKeyExW(root, path, 0, kKeyRead, &m_key);
    m_open = result == ce::ERROR_SUCCESS;
    return result;
  }
  ce::HKEY Get() const { return m_key; }

 private:
  ce::HKEY m_key{};
  bool m_open = false;
};
