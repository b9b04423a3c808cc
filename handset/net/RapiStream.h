// The remote-API stream over two descriptors of the host system.
#pragma once

#include "platform/RapiStream.h"

namespace handset {

// A stream of the current phone with one reference. It owns the descriptors (which may be the same one) and closes them
// with its last reference. Read gives at least one byte; the end of the input and a vanished reader of the output are
// ce::kRapiConnectionReset. A program that gives it a pipe to write to ignores SIGPIPE.
ce::IRAPIStream* NewDescriptorStream(int in, int out);

}  // namespace handset
