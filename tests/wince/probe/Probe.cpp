// A library of the phone that tells what the phone's compiler and runtime do: record layouts, then divisions.
#include "agent/host/RapiEntry.h"
#include "tests/wince/Layouts.h"

extern "C" ce::BOOL DllMain(ce::HANDLE /*instance*/, ce::DWORD /*reason*/, void* /*reserved*/) { return 1; }

extern "C" void ShowErrBox(const char16_t* /*caption*/) {}

ce::HRESULT BrelXferRAPI(ce::DWORD /*inputSize*/, ce::BYTE* /*input*/, ce::DWORD* /*outputSize*/, ce::BYTE** /*output*/,
                         ce::IRAPIStream* stream) {
  ce::ULONG written = 0;
  stream->Write(test::kLayouts, sizeof test::kLayouts, &written);
  test::Operands operands;
  for (int i = 0; i < test::kDivisions; ++i) {
    const std::uint64_t left = operands.Next();
    test::Divide(left, operands.Next(), [&](std::uint64_t result) { stream->Write(&result, sizeof result, &written); });
  }
  stream->Release();
  return 0;
}
