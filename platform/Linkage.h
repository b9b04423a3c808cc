// Where a platform call is bound. On the phone each declaration is the system library's own symbol; anywhere else it is
// an ordinary C++ function in namespace ce, so that ce::send and the host system's send live side by side.
#pragma once

#if defined(CE_DEVICE)
#define CE_SYMBOL(name) __asm__(name)
#else
#define CE_SYMBOL(name)
#endif
