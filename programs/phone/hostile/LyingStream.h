// The remote-API stream of a phone that lies.
#pragma once

#include "platform/RapiStream.h"
#include "programs/phone/hostile/Liar.h"

namespace brelix_phone::hostile {

// A stream with one reference over another one, whose reference it takes. What is written to it is whole replies.
ce::IRAPIStream* NewLyingStream(ce::IRAPIStream* stream, Liar liar);

}  // namespace brelix_phone::hostile
