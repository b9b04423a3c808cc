// A library of the phone that does what it must not: it writes to its own constants, calls an object that it released
// or a method that nobody lists, or reads a word where none stands. The first byte of the stream says which.
#include "agent/host/RapiEntry.h"
#include "platform/Kernel.h"

extern "C" ce::BOOL DllMain(ce::HANDLE /*instance*/, ce::DWORD /*reason*/, void* /*reserved*/) { return 1; }

extern "C" void ShowErrBox(const char16_t* /*caption*/) {}

extern const ce::DWORD g_constant;
constinit const ce::DWORD g_constant = 1;

[[gnu::noinline]] void WriteConstant() {
  auto* place = const_cast<ce::DWORD*>(&g_constant);
  __asm__("" : "+r"(place));
  *place = 2;
}

[[gnu::noinline]] void ReleaseTwice(ce::IRAPIStream* stream) {
  stream->Release();
  stream->Release();
}

// Some cores fault, others turn the word round; here it goes unseen, but for the build with traps.
[[gnu::noinline]] ce::DWORD ReadUnaligned(const ce::BYTE* bytes) {
  return *reinterpret_cast<const ce::DWORD*>(reinterpret_cast<std::uintptr_t>(bytes));
}

ce::HRESULT BrelXferRAPI(ce::DWORD /*inputSize*/, ce::BYTE* /*input*/, ce::DWORD* /*outputSize*/, ce::BYTE** /*output*/,
                         ce::IRAPIStream* stream) {
  char which = 0;
  ce::ULONG count = 0;
  stream->Read(&which, 1, &count);
  switch (which) {
    case 'w':
      WriteConstant();
      break;
    case 'r':
      ReleaseTwice(stream);
      break;
    case 's':
      stream->Revert();
      break;
    case 'u': {
      ce::DWORD words[2] = {1, 2};
      ReadUnaligned(reinterpret_cast<const ce::BYTE*>(words) + 1);
      break;
    }
    default:
      break;
  }
  return 0;
}
