// Error records. A failing platform call leaves a record (the function's name and its code) in one process-wide slot
// and its caller reports plain failure; whoever decides to tell the user shows the record with ShowErrBox.
//
// The slot has no lock: the owner's thread writes it during construction, the engine thread afterwards.
#pragma once

#include <cstdint>

class CApiError {
 public:
  // Copies the name. A null or empty name, or one that cannot be copied for want of memory, is kept as none.
  CApiError(const char16_t* functionName, std::uint32_t code);
  virtual ~CApiError();
  virtual const char16_t* GetFunctionName() const;  // "UNKNOWN EXCEPTION" when there is none
  virtual std::uint32_t GetCode() const;

  CApiError(const CApiError&) = delete;
  CApiError& operator=(const CApiError&) = delete;

 private:
  char16_t* m_functionName = nullptr;
  std::uint32_t m_code;
  std::int32_t m_ownsName = 0;
};

// Leaves a record in the slot, in place of one that nobody showed. Always false, so that a failing step can return it.
// Without memory for the record the slot becomes empty.
bool Fail(const char16_t* functionName, std::uint32_t code);

// The record in the slot, or null. The slot keeps owning it.
const CApiError* LastApiError();

// Empties the slot without showing anything.
void DropLastApiError();

// Shows the stored record as "name(): CODE", or "Exception" when there is none, and empties the slot. The caption is
// the operation one level up, such as "CConnectionManager::Read()".
extern "C" void ShowErrBox(const char16_t* caption);
