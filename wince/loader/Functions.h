// What the library's imports are bound to: the functions of the phone in software.
#pragma once

#include <string_view>

namespace crossing {

// The stub of a function in the list of calls, or of one that the compiler calls by itself; null when there is none.
void* FindFunction(std::string_view library, std::string_view name);

}  // namespace crossing
