// A library of the phone that asks for a call nobody has.
#include "agent/host/RapiEntry.h"

extern "C" ce::BOOL PlaySoundW(const char16_t* name, ce::HINSTANCE module, ce::DWORD flags);

extern "C" ce::BOOL DllMain(ce::HANDLE /*instance*/, ce::DWORD /*reason*/, void* /*reserved*/) { return 1; }

extern "C" void ShowErrBox(const char16_t* /*caption*/) {}

ce::HRESULT BrelXferRAPI(ce::DWORD /*inputSize*/, ce::BYTE* /*input*/, ce::DWORD* /*outputSize*/, ce::BYTE** /*output*/,
                         ce::IRAPIStream* /*stream*/) {
  return PlaySoundW(u"Ring", ce::HINSTANCE{}, 0);
}
