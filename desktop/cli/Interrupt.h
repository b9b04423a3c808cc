// SIGINT and SIGTERM as bytes on a descriptor, so that they end a wait and nothing else.
#pragma once

namespace brelix::cli {

// Returns the descriptor to wait on. Also makes a closed pipe an error of write() instead of a death.
int CatchInterrupts();
// The descriptor of the last CatchInterrupts, -1 before.
int InterruptFd();

// A closed standard descriptor would be handed to the first file or socket opened, and our output would go there.
void HoldStandardDescriptors();

}  // namespace brelix::cli
