// The door of every ce:: call that can fail: the fault list is asked first, and whatever goes wrong inside leaves as
// the platform reports it, never as an exception.
#pragma once

#include <type_traits>
#include <utility>

#include "handset/Failure.h"
#include "handset/Phone.h"

namespace handset {

// The calling thread's last error, which the sockets use too, as on the phone.
void SetLastError(ce::DWORD code);
ce::DWORD GetLastError();

inline Phone& ThisPhone() { return Handset::Current().GetPhone(); }

template <Call kCall, typename Result>
Result Fail(ce::DWORD code) {
  constexpr Reports kReports = InfoOf(kCall).reports;
  static_assert(kReports != Reports::Never);
  if constexpr (kReports == Reports::Result) {
    return static_cast<Result>(code);
  } else if constexpr (kReports == Reports::Null) {
    return Result{};
  } else {
    // These answer a count, a state or the handle of a file, all ones for none.
    constexpr bool kAllOnes = kReports == Reports::SocketError || kCall == Call::ResumeThread ||
                              kCall == Call::WaitForSingleObject || kCall == Call::FindFirstFileExW ||
                              kCall == Call::CreateFileW;
    SetLastError(code);
    return kAllOnes ? static_cast<Result>(~std::uintptr_t{0}) : Result{};
  }
}

struct NothingToRefuse {
  void operator()() const {}
};

// refused runs when a fault rule decides; a call that takes something back tells the ledger there.
template <Call kCall, typename Body, typename Refused = NothingToRefuse>
auto Enter(Phone& phone, Body&& body, Refused&& refused = {}) noexcept -> std::invoke_result_t<Body> {
  using Result = std::invoke_result_t<Body>;
  if (const auto fault = phone.faults.Enter(kCall)) {
    refused();
    return Fail<kCall, Result>(*fault);
  }
  try {
    return std::forward<Body>(body)();
  } catch (const Failure& failure) {
    return Fail<kCall, Result>(failure.code);
  } catch (...) {
    return Fail<kCall, Result>(InfoOf(kCall).code);
  }
}

}  // namespace handset
