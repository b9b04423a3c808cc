// The first words with whatever answers at an address: the handshake, with nothing taken for granted.
#pragma once

#include <chrono>
#include <string>

#include "desktop/Link.h"

namespace brelix::doctor {

struct Heard {
  bool answered = false;              // the handshake was, as an agent does it
  bool echoed = false;                // our own handshake came back
  size_t strangers = 0;               // frames that answer somebody else's requests
  Bytes unasked;                      // what came before anything was said, the first part of it
  size_t garbage = 0;                 // bytes that are no frames, all in all
  Bytes first_garbage;                // the first of them
  std::string ended;                  // why the link ended, empty while it lives
  Exit ended_as = Exit::kOk;          // kNoDevice, kLinkLost, or kProtocol where more came than an agent sends
  std::chrono::milliseconds took{0};  // from the handshake to its answer
};

// Listens for a moment, says the handshake, and listens until it is answered or the time is up.
Heard Probe(Link& link, Deadline deadline);

}  // namespace brelix::doctor
