// The desktop's reading of appointments from a phone that says anything, and their way into a calendar.
#include <string_view>

#include "fuzz/CalendarRoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const fuzz::ForgetTexts forget;
  try {
    const std::string_view text(reinterpret_cast<const char*>(bytes), size);
    fuzz::RoundTrip(brelix::ReadAppointment(text));
  } catch (const brelix::Failure& failure) {
    fuzz::Check(failure.code() == brelix::Exit::kProtocol);
  }
  return 0;
}
