// The loader: what the phone's compiler makes of records and divisions, and what happens to libraries that are none or
// that do what they must not.
#include <cstring>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "handset/Handset.h"
#include "tests/wince/Command.h"
#include "tests/wince/Layouts.h"

namespace test {
namespace {

constexpr struct {
  const char* name;
  std::uint32_t value;
} kExpectedLayouts[] = {
#define CE_RECORD(type, size, alignment) {"size of " #type, size}, {"alignment of " #type, alignment},
#define CE_RECORD_32 CE_RECORD
#define CE_MEMBER(type, member, offset) {#type "." #member, offset},
#define CE_MEMBER_32 CE_MEMBER
#include "tests/wince/Layouts.def"
#undef CE_RECORD
#undef CE_RECORD_32
#undef CE_MEMBER
#undef CE_MEMBER_32
};

class Loader : public testing::Test {
 protected:
  Loader() { handset::Handset::Init(Phone(), nlohmann::json::object()); }

  std::filesystem::path Phone() const { return m_folder.Path() / "phone"; }
  const std::filesystem::path& Folder() const { return m_folder.Path(); }

  Heard Load(const std::string& library, const std::string& input = {}, const std::string& options = {}) const {
    return RunCommand(BRELIX_LOADER " " + options + " --phone " + Phone().string() + " " + library, input);
  }

  // The engine's library, changed.
  std::string Changed(const std::function<void(std::string&)>& change) const {
    std::string bytes = ReadFile(BRELIX_PHONE_LIBRARY);
    change(bytes);
    const std::filesystem::path file = Folder() / "Changed.dll";
    std::ofstream(file, std::ios::binary) << bytes;
    return file.string();
  }

 private:
  TemporaryFolder m_folder;
};

TEST_F(Loader, records_are_laid_out_as_the_platform_says_in_both_builds) {
  const Heard heard = Load(BRELIX_PROBE_LIBRARY);
  ASSERT_EQ(heard.exitCode, 0) << heard.error;
  ASSERT_EQ(std::size(kExpectedLayouts), std::size(kLayouts));
  ASSERT_GE(heard.out.size(), sizeof kLayouts);
  for (std::size_t i = 0; i < std::size(kExpectedLayouts); ++i) {
    std::uint32_t onPhone = 0;
    std::memcpy(&onPhone, heard.out.data() + 4 * i, 4);
    EXPECT_EQ(onPhone, kExpectedLayouts[i].value) << kExpectedLayouts[i].name << " on the phone";
    EXPECT_EQ(kLayouts[i], kExpectedLayouts[i].value) << kExpectedLayouts[i].name << " here";
  }
}

TEST_F(Loader, the_runtime_divides_as_this_machine_does) {
  const Heard heard = Load(BRELIX_PROBE_LIBRARY, {}, "--stack-skew 4 --relocate");
  std::string expected;
  Operands operands;
  for (int i = 0; i < kDivisions; ++i) {
    const std::uint64_t left = operands.Next();
    Divide(left, operands.Next(),
           [&](std::uint64_t result) { expected.append(reinterpret_cast<const char*>(&result), sizeof result); });
  }
  ASSERT_GE(heard.out.size(), sizeof kLayouts) << heard.error;
  EXPECT_TRUE(heard.out.substr(sizeof kLayouts) == expected);
}

TEST_F(Loader, a_fault_is_told_with_file_symbol_and_offset) {
  const Heard heard = Load(BRELIX_FAULTY_LIBRARY, "w");
  EXPECT_EQ(heard.exitCode, 3);
  EXPECT_TRUE(heard.error.starts_with("ce-loader: fault in Faulty.dll WriteConstant()+0x")) << heard.error;
  EXPECT_NE(heard.error.find("; called from Faulty.dll BrelXferRAPI+0x"), std::string::npos) << heard.error;
}

// The build with traps sees what this machine's memory forgives.
TEST_F(Loader, an_unaligned_read_is_a_fault_in_the_checked_build_only) {
  EXPECT_EQ(Load(BRELIX_FAULTY_LIBRARY, "u").exitCode, 0);
  const Heard heard = Load(BRELIX_FAULTY_CHECKED_LIBRARY, "u");
  EXPECT_EQ(heard.exitCode, 3);
  EXPECT_TRUE(heard.error.starts_with("ce-loader: fault in FaultyChecked.dll ReadUnaligned(")) << heard.error;
}

TEST_F(Loader, a_call_on_a_released_object_or_of_an_unlisted_method_is_a_fault) {
  const Heard released = Load(BRELIX_FAULTY_LIBRARY, "r");
  EXPECT_EQ(released.exitCode, 3);
  EXPECT_EQ(
      released.error,
      "ce-loader: fault: the library called slot 2 of a released object, which the list of calls does not have\n");
  const Heard unlisted = Load(BRELIX_FAULTY_LIBRARY, "s");
  EXPECT_EQ(unlisted.exitCode, 3);
  EXPECT_EQ(unlisted.error,
            "ce-loader: fault: the library called slot 9 of IRAPIStream, which the list of calls does not have\n");
}

TEST_F(Loader, a_file_that_is_no_library_for_this_phone_is_refused) {
  const auto expect = [&](const std::string& file, const std::string& what) {
    const Heard heard = Load(file);
    EXPECT_EQ(heard.exitCode, 2) << heard.error;
    EXPECT_EQ(heard.error, "ce-loader: " + file + ": " + what + "\n");
  };
  expect(BRELIX_LINUX_LIBRARY, "offset 0x0: no \"MZ\": this is no program or library file");
  expect(Changed([](std::string& bytes) { bytes.resize(0x180); }),
         "offset 0xD4: the headers end beyond the file or the image");
  expect(Changed([](std::string& bytes) { bytes.replace(0x84, 2, "\x4C\x01", 2); }),
         "header: for machine 0x14C, expected 0x1C0 (ARM)");
  expect(BRELIX_STRANGER_LIBRARY, "import coredll.dll PlaySoundW: nobody has it");
  const Heard missing = Load("/nowhere/at.dll");
  EXPECT_EQ(missing.exitCode, 2);
  EXPECT_EQ(missing.error, "ce-loader: /nowhere/at.dll: cannot be read\n");
}

TEST_F(Loader, wrong_usage_is_told) {
  EXPECT_EQ(Load(BRELIX_PHONE_LIBRARY, {}, "--stack-skew 2").error, "ce-loader: --stack-skew: expected 0 or 4\n");
  EXPECT_EQ(Load(BRELIX_PHONE_LIBRARY, {}, "--host x.dll").error, "ce-loader: --host and --listen belong together\n");
  EXPECT_EQ(Load("", {}, "").exitCode, 2);
}

// The entry refuses a process whose COM cannot be started.
TEST_F(Loader, a_library_entry_that_refuses_is_told) {
  const std::filesystem::path phone = Folder() / "no-com";
  handset::Handset::Init(phone, {{"faults", {{{"call", "CoInitializeEx"}, {"result", 1}}}}});
  const Heard heard = RunCommand(BRELIX_LOADER " --phone " + phone.string() + " " BRELIX_PHONE_LIBRARY, {});
  EXPECT_EQ(heard.exitCode, 2);
  EXPECT_EQ(heard.error, "ce-loader: " BRELIX_PHONE_LIBRARY ": its library entry refused to attach\n");
}

}  // namespace
}  // namespace test
