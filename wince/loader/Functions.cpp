#include "wince/loader/Functions.h"

#include <cstring>
#include <map>
#include <utility>

#include "platform/Automation.h"
#include "platform/Bluetooth.h"
#include "platform/CallLog.h"
#include "platform/Crt.h"
#include "platform/Files.h"
#include "platform/Heap.h"
#include "platform/Kernel.h"
#include "platform/Mapi.h"
#include "platform/Registry.h"
#include "platform/Sms.h"
#include "platform/Tapi.h"
#include "platform/User.h"
#include "platform/Winsock.h"
#include "wince/loader/Proxies.h"

namespace crossing {

namespace {

template <class Result, class... Parameters>
using FunctionPointer = Result (*)(Parameters...);

template <auto kFunction, class Result, class... Parameters>
std::uint64_t Run(const Entry&, const std::uint32_t* words) {
  return Forward<kNamesInterface<Parameters...>, Result, Parameters...>(kFunction, words);
}

// The second argument is the function again, for its signature.
template <auto kFunction, class Result, class... Parameters>
void* StubOf(const char* name, FunctionPointer<Result, Parameters...>) {
  static const Entry entry{&Run<kFunction, Result, Parameters...>, nullptr, name};
  static void* const stub = NewStub(&entry);
  return stub;
}

using Functions = std::map<std::pair<std::string_view, std::string_view>, void*>;

}  // namespace

void* FindFunction(std::string_view library, std::string_view name) {
  static const Functions functions{
#define CE_CALL(library, function, failure, code) \
  {{#library ".dll", #function}, StubOf<&ce::function>(#function, &ce::function)},
#define CE_METHOD(interface, method, failure, code)
#include "platform/Calls.def"
#undef CE_CALL
#undef CE_METHOD
#define CE_COMPILER_CALL(library, function) {{#library ".dll", #function}, StubOf<&::function>(#function, &::function)},
#include "wince/runtime/CompilerCalls.def"
#undef CE_COMPILER_CALL
  };
  const auto found = functions.find({library, name});
  return found == functions.end() ? nullptr : found->second;
}

}  // namespace crossing
