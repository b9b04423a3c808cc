// Waiting for a descriptor. No wait is without a deadline, and every wait ends early when the user interrupts.
#pragma once

#include <chrono>
#include <poll.h>
#include <span>

namespace brelix {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

// A descriptor that yields one byte per interrupt, or -1. Whoever sees the byte takes it and fails with kInterrupted,
// so a first interrupt stops the work and a second one stops the tidying up.
using CancelFd = int;

// Waits until poll() says something of one of the descriptors; false when the deadline passed first.
bool WaitForAny(std::span<pollfd> polled, Deadline deadline, CancelFd cancel);

// What poll() says of the descriptor, 0 when the deadline passed first. With -1 for a descriptor it only waits.
short WaitFor(int fd, short events, Deadline deadline, CancelFd cancel);

// For work that waits for nothing: fails with kInterrupted, as the waits do, when there was an interrupt.
void FailIfInterrupted(CancelFd cancel);

}  // namespace brelix
