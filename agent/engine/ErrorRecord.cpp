#include "agent/engine/ErrorRecord.h"

#include <new>
#include <string_view>

#include "agent/engine/BoxText.h"
#include "platform/User.h"

namespace {

constinit CApiError* g_lastError = nullptr;

}  // namespace

CApiError::CApiError(const char16_t* functionName, std::uint32_t code) : m_code(code) {
  if (functionName == nullptr || *functionName == 0) {
    return;
  }
  const std::u16string_view name(functionName);
  m_functionName = new (std::nothrow) char16_t[name.size() + 1];
  if (m_functionName != nullptr) {
    name.copy(m_functionName, name.size());
    m_functionName[name.size()] = 0;
    m_ownsName = 1;
  }
}

CApiError::~CApiError() {
  if (m_ownsName != 0) {
    delete[] m_functionName;
  }
}

const char16_t* CApiError::GetFunctionName() const {
  return m_functionName != nullptr ? m_functionName : u"UNKNOWN EXCEPTION";
}

std::uint32_t CApiError::GetCode() const { return m_code; }

// Chosen: the record that is replaced is freed; nobody could show it any more.
bool Fail(const char16_t* functionName, std::uint32_t code) {
  DropLastApiError();
  g_lastError = new (std::nothrow) CApiError(functionName, code);
  return false;
}

const CApiError* LastApiError() { return g_lastError; }

void DropLastApiError() {
  delete g_lastError;
  g_lastError = nullptr;
}

void ShowErrBox(const char16_t* caption) {
  CBoxText<128> text;
  if (g_lastError != nullptr) {
    text.Add(g_lastError->GetFunctionName()).Add(u"(): ").Hex8(g_lastError->GetCode());
  } else {
    text.Add(u"Exception");
  }
  ce::MessageBoxW(ce::kNoWindow, text.Text(), caption, ce::MB_OK | ce::MB_ICONERROR);
  DropLastApiError();
}
