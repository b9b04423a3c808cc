// What the loader does with the loaded library.
#pragma once

#include "handset/Handset.h"
#include "wince/loader/Module.h"
#include "wince/loader/Options.h"

namespace crossing {

// Gives BrelXferRAPI a stream over standard input and a descriptor. False when it failed; the error box was shown.
bool ServeStream(const Module& library, int out);

// Starts the host library over a listening socket, and stops it at SIGINT or SIGTERM. False when it did not start.
bool ServeHost(const Module& host, handset::Handset& phone, const Options& options);

}  // namespace crossing
