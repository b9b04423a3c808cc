#include "desktop/Waiting.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <unistd.h>
#include <vector>

#include "desktop/Failure.h"

namespace brelix {
namespace {

int MillisecondsUntil(Deadline deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<int64_t>(left, 0, 1 << 30));
}

void TakeInterrupt(CancelFd cancel) {
  char taken;
  if (read(cancel, &taken, 1) == 1) throw Failure(Exit::kInterrupted, "interrupted");
}

}  // namespace

bool WaitForAny(std::span<pollfd> polled, Deadline deadline, CancelFd cancel) {
  std::vector<pollfd> all(polled.begin(), polled.end());
  all.push_back({cancel, POLLIN, 0});
  for (;;) {
    const int ready = poll(all.data(), all.size(), MillisecondsUntil(deadline));
    if (ready < 0 && errno != EINTR) throw Failure(Exit::kUnexpected, fmt::format("poll: {}", std::strerror(errno)));
    if (ready > 0 && all.back().revents != 0) TakeInterrupt(cancel);
    std::copy(all.begin(), all.end() - 1, polled.begin());
    const auto said = [](const pollfd& each) { return each.revents != 0; };
    if (ready > 0 && std::any_of(polled.begin(), polled.end(), said)) return true;
    if (Clock::now() >= deadline) return false;
  }
}

short WaitFor(int fd, short events, Deadline deadline, CancelFd cancel) {
  pollfd polled{fd, events, 0};
  return WaitForAny({&polled, 1}, deadline, cancel) ? polled.revents : 0;
}

void FailIfInterrupted(CancelFd cancel) {
  pollfd polled{cancel, POLLIN, 0};
  if (poll(&polled, 1, 0) > 0 && polled.revents != 0) TakeInterrupt(cancel);
}

}  // namespace brelix
