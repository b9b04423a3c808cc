// The remote-API extension entry: the synchronisation link calls it with a stream to the desktop, and it serves that
// one desktop until the stream closes or the desktop sends the exit command.
#pragma once

#include "platform/RapiStream.h"

// Takes over the caller's reference to the stream. The input and the output block are not used. -1 when the engine
// could not be constructed (its error record stays in the last-error slot), else 0.
extern "C" ce::HRESULT BrelXferRAPI(ce::DWORD inputSize, ce::BYTE* input, ce::DWORD* outputSize, ce::BYTE** output,
                                    ce::IRAPIStream* stream);
