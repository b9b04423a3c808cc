// Where the phone has each call: the lines of wince/imports.
#pragma once

#include <cstdint>
#include <string_view>

namespace pe {

struct KnownImport {
  std::string_view library;  // "coredll.dll"
  std::string_view name;
  std::uint16_t ordinal;  // 0: none is known
  bool byOrdinal;         // imported by it
  std::string_view sureness;
};

inline constexpr KnownImport kKnownImports[] = {
#define CE_IMPORT(library, name, ordinal, byOrdinal, sureness) {library, name, ordinal, byOrdinal, sureness},
#include "wince/Imports.inc"
#undef CE_IMPORT
};

// The line that an import, by name or (name empty) by ordinal, is made from; null when the tables have none.
constexpr const KnownImport* FindImport(std::string_view library, std::string_view name, std::uint16_t ordinal) {
  for (const KnownImport& known : kKnownImports) {
    const bool same =
        name.empty() ? known.byOrdinal && known.ordinal == ordinal : !known.byOrdinal && known.name == name;
    if (known.library == library && same) {
      return &known;
    }
  }
  return nullptr;
}

}  // namespace pe
