// ole32: COM start-up and activation, the base interfaces, and IStream. Interfaces are plain rows of pure virtual
// functions in the platform's slot order: no destructor, no overloads, no data.
#pragma once

#include "platform/Types.h"

namespace ce {

inline constexpr DWORD COINIT_MULTITHREADED = 0;
inline constexpr DWORD CLSCTX_INPROC_SERVER = 1;

inline constexpr DWORD STREAM_SEEK_SET = 0;
inline constexpr DWORD STREAM_SEEK_CUR = 1;
inline constexpr DWORD STREAM_SEEK_END = 2;

struct IUnknown {
  virtual HRESULT QueryInterface(const IID& iid, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;
};

struct ITypeInfo;
struct DISPPARAMS;
struct VARIANT;
struct EXCEPINFO;
struct STATSTG;

struct IDispatch : IUnknown {
  virtual HRESULT GetTypeInfoCount(DWORD* count) = 0;
  virtual HRESULT GetTypeInfo(DWORD index, DWORD locale, ITypeInfo** info) = 0;
  virtual HRESULT GetIDsOfNames(const IID& iid, WCHAR** names, DWORD count, DWORD locale, LONG* ids) = 0;
  virtual HRESULT Invoke(LONG id, const IID& iid, DWORD locale, WORD flags, DISPPARAMS* params, VARIANT* result,
                         EXCEPINFO* exception, DWORD* badArgument) = 0;
};

struct ISequentialStream : IUnknown {
  virtual HRESULT Read(void* buffer, ULONG size, ULONG* read) = 0;
  virtual HRESULT Write(const void* buffer, ULONG size, ULONG* written) = 0;
};

struct IStream : ISequentialStream {
  virtual HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) = 0;
  virtual HRESULT SetSize(ULARGE_INTEGER size) = 0;
  virtual HRESULT CopyTo(IStream* target, ULARGE_INTEGER size, ULARGE_INTEGER* read, ULARGE_INTEGER* written) = 0;
  virtual HRESULT Commit(DWORD flags) = 0;
  virtual HRESULT Revert() = 0;
  virtual HRESULT LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) = 0;
  virtual HRESULT UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) = 0;
  virtual HRESULT Stat(STATSTG* status, DWORD flags) = 0;
  virtual HRESULT Clone(IStream** clone) = 0;
};

HRESULT CoInitializeEx(void* reserved, DWORD flags) CE_SYMBOL("CoInitializeEx");
void CoUninitialize() CE_SYMBOL("CoUninitialize");
HRESULT CoCreateInstance(const CLSID& classId, IUnknown* outer, DWORD context, const IID& iid, void** object)
    CE_SYMBOL("CoCreateInstance");

}  // namespace ce
