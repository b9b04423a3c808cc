#include "handset/Enter.h"

namespace handset {

namespace {

thread_local ce::DWORD t_lastError = 0;

}  // namespace

void SetLastError(ce::DWORD code) { t_lastError = code; }

ce::DWORD GetLastError() { return t_lastError; }

}  // namespace handset

namespace ce {

DWORD GetLastError() { return handset::GetLastError(); }

INT WSAGetLastError() { return static_cast<INT>(handset::GetLastError()); }

}  // namespace ce
