// A fault in the library ends the program with one line: the file, the symbol and the offset.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace crossing {

inline constexpr int kFaulted = 3;

// From now on, addresses in the range are told in terms of the file. Its symbols stand in FILE.sym beside it; without
// that, the offset in the image is told.
void AddModule(const std::filesystem::path& file, std::uintptr_t base, std::uint32_t size, std::uint32_t preferredBase);

// Takes over the signals of faults.
void ReportFaults();

// "BrelixEngine.dll CAgentEngine::Run()+0x1C"
std::string DescribeAddress(std::uintptr_t address);

// Ends the program: the library did what it must not.
[[noreturn]] void StopForFault(const char* what);

}  // namespace crossing
