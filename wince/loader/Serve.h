// What the loader does with the loaded library.
#pragma once

#include "handset/Handset.h"
#include "wince/loader/Module.h"
#include "wince/loader/Options.h"

namespace crossing {

// Gives BrelXferRAPI a stream over standard input and a descriptor. False when it failed; the error box was shown.
bool ServeStream(const Module& library, int out);

// Runs a host program of the phone. A box that only tells something is closed by SIGINT or SIGTERM, an error at once.
// The program's exit code.
int RunProgram(Module& program, handset::Handset& phone);

// Starts the host library over a listening socket, and stops it at SIGINT or SIGTERM. False when it did not start.
bool ServeHost(const Module& host, handset::Handset& phone, const Options& options);

}  // namespace crossing
