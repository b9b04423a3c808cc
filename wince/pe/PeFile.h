// A library or program file of the phone, read from bytes that may be anything. What stands in the tables is given as
// it is; whether a phone would take it is another question (CheckImage.h).
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace pe {

// Says what is wrong and where in the file, in one line.
class PeError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

inline constexpr std::uint16_t kMachineArm = 0x1C0;
inline constexpr std::uint16_t kRelocationsStripped = 0x0001;
inline constexpr std::uint16_t kIsDll = 0x2000;
inline constexpr std::uint16_t kSubsystemWindowsCe = 9;
inline constexpr std::uint32_t kPage = 4096;

struct Header {
  std::uint16_t machine;
  std::uint16_t characteristics;
  std::uint32_t timeStamp;
  std::uint32_t entry;  // all addresses are relative to the image
  std::uint32_t imageBase;
  std::uint32_t sectionAlignment;
  std::uint16_t subsystemMajor;
  std::uint16_t subsystemMinor;
  std::uint32_t imageSize;
  std::uint32_t headersSize;
  std::uint16_t subsystem;
};

struct Section {
  std::string name;
  std::uint32_t address;
  std::uint32_t size;
  std::span<const std::uint8_t> data;  // what the file has of it; the rest is zero
  bool executable;
  bool writable;
};

struct Import {
  std::string library;
  std::string name;  // empty: by ordinal
  std::uint16_t ordinal;
  std::uint32_t slot;  // where the address goes
};

struct Export {
  std::string name;
  std::uint32_t address;
};

class PeFile {
 public:
  // Throws PeError.
  explicit PeFile(std::vector<std::uint8_t> bytes);
  static PeFile Read(const std::filesystem::path& file);

  PeFile(const PeFile&) = delete;
  PeFile& operator=(const PeFile&) = delete;

  const Header& GetHeader() const { return m_header; }
  const std::vector<Section>& GetSections() const { return m_sections; }
  const std::vector<Import>& GetImports() const { return m_imports; }
  const std::vector<Export>& GetExports() const { return m_exports; }
  // The words to which the difference of the bases is added.
  const std::vector<std::uint32_t>& GetRelocations() const { return m_relocations; }
  std::span<const std::uint8_t> GetHeaders() const;
  std::size_t GetFileSize() const { return m_bytes.size(); }

 private:
  enum Directory : std::uint32_t { kExports = 0, kImports = 1, kRelocations = 5 };
  struct Range {
    std::uint32_t address;
    std::uint32_t size;
  };

  void ReadHeader();
  void ReadSections(std::uint32_t table, std::uint32_t count);
  void ReadImports();
  void ReadImportsOf(std::string library, std::uint32_t names, std::uint32_t slots);
  void ReadExports();
  void ReadRelocations();
  Range GetDirectory(Directory which) const;

  std::uint16_t FileU16(std::uint32_t offset) const;
  std::uint32_t FileU32(std::uint32_t offset) const;
  std::uint16_t ImageU16(std::uint32_t address) const;
  std::uint32_t ImageU32(std::uint32_t address) const;
  std::string ImageText(std::uint32_t address) const;
  std::span<const std::uint8_t> ImageBytes(std::uint32_t address, std::uint32_t size) const;

  std::vector<std::uint8_t> m_bytes;
  std::uint32_t m_optional = 0;  // the offset of the optional header
  Header m_header{};
  std::vector<Section> m_sections;
  std::vector<Import> m_imports;
  std::vector<Export> m_exports;
  std::vector<std::uint32_t> m_relocations;
};

}  // namespace pe
