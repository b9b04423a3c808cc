#include "desktop/Waiting.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include "desktop/Failure.h"

namespace brelix {
namespace {

int MillisecondsUntil(Deadline deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<int64_t>(left, 0, 1 << 30));
}

}  // namespace

short WaitFor(int fd, short events, Deadline deadline, CancelFd cancel) {
  for (;;) {
    pollfd polled[] = {{fd, events, 0}, {cancel, POLLIN, 0}};
    const int ready = poll(polled, 2, MillisecondsUntil(deadline));
    if (ready < 0 && errno != EINTR) throw Failure(Exit::kUnexpected, fmt::format("poll: {}", std::strerror(errno)));
    if (ready > 0 && polled[1].revents != 0) {
      char taken;
      if (read(cancel, &taken, 1) == 1) throw Failure(Exit::kInterrupted, "interrupted");
    }
    if (ready > 0 && polled[0].revents != 0) return polled[0].revents;
    if (Clock::now() >= deadline) return 0;
  }
}

}  // namespace brelix
