// A picture in pieces for the phone, none of which ends its request early.
//
// A request ends at the first "ZZZZ", wherever it stands, so a picture that holds one would cut its own request short
// and what follows in it would be read as further requests: a crafted picture could delete contacts. Pieces are
// therefore cut inside every run of Z, and where the length field in front of a piece would complete a run.
#pragma once

#include <vector>

#include "desktop/FrameCodec.h"

namespace brelix {

// The whole picture in order. Every piece makes a good request with each number that PacketNumbers gives.
std::vector<ByteView> PictureChunks(ByteView picture);

}  // namespace brelix
