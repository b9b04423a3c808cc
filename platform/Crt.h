// The C runtime that the phone's coredll exports, as far as the agent uses it. There is no snprintf, no isdigit, no
// abort on a phone; the memory functions (memcpy, memmove, memset, memcmp) are the compiler's own imports.
#pragma once

#include "platform/Types.h"

namespace ce {

struct FILE;

// Paths are absolute from the device's root. In text mode ("a") a line feed is stored as CR LF.
FILE* fopen(const char* path, const char* mode) CE_SYMBOL("fopen");
// Negative on failure.
INT fputs(const char* text, FILE* file) CE_SYMBOL("fputs");
INT fclose(FILE* file) CE_SYMBOL("fclose");

}  // namespace ce
