// Files that no phone takes are refused with what is wrong and where, whatever their bytes are.
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <random>

#include "wince/pe/CheckImage.h"

namespace {

using pe::CheckExports;
using pe::CheckImports;
using pe::CheckLoadable;
using pe::Kind;
using pe::PeError;
using pe::PeFile;

using Bytes = std::vector<std::uint8_t>;

Bytes EngineBytes() {
  std::ifstream stream(BRELIX_PHONE_LIBRARY, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(stream), {});
}

std::uint32_t HeaderAt(const Bytes& bytes) { return bytes[0x3C] | bytes[0x3D] << 8; }

std::vector<std::string> ProblemsAfter(const std::function<void(Bytes&, std::uint32_t)>& change) {
  Bytes bytes = EngineBytes();
  change(bytes, HeaderAt(bytes));
  return CheckLoadable(PeFile(bytes), Kind::kLibrary);
}

TEST(PeFile, the_shipped_library_is_right) {
  const PeFile file(EngineBytes());
  EXPECT_EQ(CheckLoadable(file, Kind::kLibrary), std::vector<std::string>{});
  EXPECT_EQ(CheckImports(file), std::vector<std::string>{});
  EXPECT_EQ(CheckExports(file, pe::ReadExportMap(BRELIX_EXPORTS_MAP)), std::vector<std::string>{});
  EXPECT_EQ(file.GetHeader().timeStamp, 0U);
}

TEST(PeFile, each_thing_that_is_wrong_is_told) {
  const auto only = [](const char* text) { return std::vector<std::string>{text}; };
  EXPECT_EQ(ProblemsAfter([](Bytes& b, std::uint32_t at) { b[at + 4] = 0x4C, b[at + 5] = 0x01; }),
            only("header: for machine 0x14C, expected 0x1C0 (ARM)"));
  EXPECT_EQ(ProblemsAfter([](Bytes& b, std::uint32_t at) { b[at + 23] &= ~0x20; }),
            only("header: a program, expected a library"));
  EXPECT_EQ(ProblemsAfter([](Bytes& b, std::uint32_t at) { b[at + 24 + 68] = 2; }),
            only("header: subsystem 2, expected 9 (Windows CE)"));
  EXPECT_EQ(ProblemsAfter([](Bytes& b, std::uint32_t at) { b[at + 24 + 48] = 4; }),
            only("header: subsystem version 4.0, expected 5.0"));
  EXPECT_EQ(ProblemsAfter([](Bytes& b, std::uint32_t at) { b[at + 22] |= 1; }),
            only("header: its relocations were taken out"));
  EXPECT_EQ(ProblemsAfter([](Bytes& b, std::uint32_t at) { b[at + 24 + 16] = b[at + 24 + 17] = 0; }),
            only("entry 0x0: no code is there"));
  // The first section is the code.
  EXPECT_EQ(ProblemsAfter([](Bytes& b, std::uint32_t at) { b[at + 24 + 224 + 39] |= 0x80; }),
            only("section .text: both writable and executable"));
  EXPECT_EQ(ProblemsAfter([](Bytes& b, std::uint32_t at) { std::fill_n(&b[at + 24 + 96 + 40], 8, 0); }),
            only("relocations: none, it could be loaded at one address only"));
}

TEST(PeFile, exports_that_are_not_in_the_list_and_those_that_are_missing_are_told) {
  const PeFile file(EngineBytes());
  std::set<std::string> wanted = pe::ReadExportMap(BRELIX_EXPORTS_MAP);
  wanted.erase("ShowErrBox");
  wanted.insert("CAgentEngine::Pause()");
  EXPECT_EQ(CheckExports(file, wanted),
            (std::vector<std::string>{"export ShowErrBox: not in the list", "export CAgentEngine::Pause(): missing"}));
}

TEST(PeFile, an_import_outside_the_tables_is_told) {
  const PeFile file = PeFile::Read(BRELIX_STRANGER_LIBRARY);
  EXPECT_EQ(CheckImports(file), std::vector<std::string>{"import coredll.dll PlaySoundW: not in the import tables"});
}

void ExpectRefused(Bytes bytes, const std::string& what) {
  try {
    const PeFile file(std::move(bytes));
    ADD_FAILURE() << "was taken";
  } catch (const PeError& error) {
    EXPECT_EQ(std::string(error.what()), what);
  }
}

TEST(PeFile, what_is_no_library_file_is_refused) {
  ExpectRefused({}, "offset 0x0: no \"MZ\": this is no program or library file");
  ExpectRefused(Bytes(100, 'x'), "offset 0x0: no \"MZ\": this is no program or library file");
  Bytes bytes = EngineBytes();
  bytes[HeaderAt(bytes)] = 'X';
  ExpectRefused(bytes, "offset 0x80: no \"PE\" header");
  bytes = EngineBytes();
  bytes[HeaderAt(bytes) + 24 + 1] = 2;
  ExpectRefused(bytes, "offset 0x98: not a 32-bit image");
  EXPECT_THROW(PeFile::Read("/nowhere/at.dll"), PeError);
}

TEST(PeFile, a_file_that_is_cut_off_anywhere_is_refused) {
  const Bytes whole = EngineBytes();
  // The last section is padded to the file's alignment: that much may be missing.
  const std::size_t padding = 512;
  for (std::size_t size = 0; size + padding < whole.size(); size += 37) {
    EXPECT_THROW(PeFile(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))), PeError) << size;
  }
}

TEST(PeFile, bytes_changed_anywhere_lead_to_no_fault) {
  const Bytes whole = EngineBytes();
  std::mt19937 random(20090712);
  int refused = 0;
  for (int i = 0; i < 3000; ++i) {
    Bytes bytes = whole;
    for (unsigned changes = 1 + random() % 4; changes > 0; --changes) {
      // Mostly where the tables are.
      const std::size_t at = random() % 2 == 0 ? random() % 0x400 : random() % bytes.size();
      bytes[at] = static_cast<std::uint8_t>(random());
    }
    try {
      const PeFile file(std::move(bytes));
      CheckLoadable(file, Kind::kLibrary);
      CheckImports(file);
    } catch (const PeError&) {
      ++refused;
    }
  }
  EXPECT_GT(refused, 100);
}

}  // namespace
