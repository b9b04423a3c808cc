// The names that files of the phone get here.
//
// Almost every name stays as it is. What this system cannot hold is written so that the phone's name can be told from
// it:
//   * half a surrogate pair, which no UTF-8 text has, as "%uD83D": its four hexadecimal digits;
//   * a name of more than 255 bytes as a path: all pieces but the last end in "%+" and are folders, all but the first
//     begin with "+%";
//   * a name that would be read as one of these, or as one of our own unfinished files, with its first telling
//   character
//     written as "%uXXXX" as well.
#pragma once

#include <string>
#include <string_view>

namespace brelix {

// Unfinished files begin with this.
inline constexpr std::string_view kPartPrefix = ".brelix-part-";

// A relative path that leads into the folder it is put behind, and never out of it. The name has passed IsName.
std::string LocalName(std::string_view wire);

}  // namespace brelix
