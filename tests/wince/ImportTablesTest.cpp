// The import tables and the lists of calls say the same.
#include <gtest/gtest.h>
#include <map>
#include <set>

#include "wince/pe/ImportTables.h"

namespace {

using Name = std::pair<std::string, std::string>;

const std::set<Name>& Wanted() {
  static const std::set<Name> wanted{
#define CE_CALL(library, name, failure, code) {#library ".dll", #name},
#define CE_METHOD(interface, name, failure, code)
#include "platform/Calls.def"
#undef CE_CALL
#undef CE_METHOD
#define CE_COMPILER_CALL(library, name) {#library ".dll", #name},
#include "wince/runtime/CompilerCalls.def"
#undef CE_COMPILER_CALL
  };
  return wanted;
}

TEST(ImportTables, have_every_call_in_the_library_that_the_list_names_and_nothing_else) {
  std::set<Name> had;
  for (const pe::KnownImport& import : pe::kKnownImports) {
    EXPECT_TRUE(had.emplace(import.library, import.name).second) << import.name << " is there twice";
  }
  for (const auto& [library, name] : Wanted()) {
    EXPECT_TRUE(had.contains({library, name})) << library << " lacks " << name;
  }
  for (const auto& [library, name] : had) {
    EXPECT_TRUE(Wanted().contains({library, name})) << library << " has " << name << ", which nobody calls";
  }
}

TEST(ImportTables, an_ordinal_is_given_once_in_a_library) {
  std::map<std::pair<std::string_view, int>, std::string_view> ordinals;
  for (const pe::KnownImport& import : pe::kKnownImports) {
    if (import.ordinal == 0) continue;
    const auto [place, isNew] = ordinals.try_emplace({import.library, import.ordinal}, import.name);
    EXPECT_TRUE(isNew) << import.library << ' ' << import.ordinal << ": " << import.name << " and " << place->second;
  }
}

// Their own import libraries have no names for these.
TEST(ImportTables, two_libraries_are_imported_by_ordinal_and_nothing_else_is) {
  for (const pe::KnownImport& import : pe::kKnownImports) {
    EXPECT_EQ(import.byOrdinal, import.library == "phone.dll" || import.library == "bthutil.dll") << import.name;
  }
  ASSERT_NE(pe::FindImport("bthutil.dll", "", 2), nullptr);
  EXPECT_EQ(pe::FindImport("bthutil.dll", "", 2)->name, "BthGetMode");
  ASSERT_NE(pe::FindImport("phone.dll", "", 1), nullptr);
  EXPECT_EQ(pe::FindImport("phone.dll", "", 1)->name, "PhoneOpenCallLog");
  EXPECT_EQ(pe::FindImport("phone.dll", "", 3)->name, "PhoneCloseCallLog");
  EXPECT_EQ(pe::FindImport("phone.dll", "PhoneOpenCallLog", 0), nullptr);
}

}  // namespace
