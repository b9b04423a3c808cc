#include "wince/pe/PeFile.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>

namespace pe {

namespace {

constexpr std::uint32_t kHeaderOffsetAt = 0x3C;
constexpr std::uint32_t kOptionalSize = 96 + 16 * 8;  // with all directories
constexpr std::uint32_t kSectionRecord = 40;
constexpr std::uint16_t kPe32 = 0x10B;
constexpr std::uint32_t kExecutable = 0x20000000;
constexpr std::uint32_t kWritable = 0x80000000;
constexpr std::uint32_t kByOrdinal = 0x80000000;
constexpr std::uint16_t kRelocationNone = 0;
constexpr std::uint16_t kRelocationWord = 3;
// More of anything than this is no file of ours, and tables that run in circles end here.
constexpr std::size_t kMost = 0x10000;

std::string Hex(std::uint32_t value) {
  std::array<char, 12> text{};
  std::snprintf(text.data(), text.size(), "0x%X", static_cast<unsigned>(value));
  return text.data();
}

[[noreturn]] void Refuse(const std::string& where, const std::string& what) { throw PeError(where + ": " + what); }

std::uint32_t Number(std::span<const std::uint8_t> bytes) {
  std::uint32_t value = 0;
  for (std::size_t i = bytes.size(); i > 0; --i) {
    value = value << 8 | bytes[i - 1];
  }
  return value;
}

}  // namespace

PeFile PeFile::Read(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream || std::filesystem::is_directory(file)) {
    throw PeError("cannot be read");
  }
  return PeFile(std::vector<std::uint8_t>(std::istreambuf_iterator<char>(stream), {}));
}

PeFile::PeFile(std::vector<std::uint8_t> bytes) : m_bytes(std::move(bytes)) {
  ReadHeader();
  ReadImports();
  ReadExports();
  ReadRelocations();
}

void PeFile::ReadHeader() {
  if (m_bytes.size() < kHeaderOffsetAt + 4 || m_bytes[0] != 'M' || m_bytes[1] != 'Z') {
    Refuse("offset 0x0", "no \"MZ\": this is no program or library file");
  }
  const std::uint32_t at = FileU32(kHeaderOffsetAt);
  if (FileU32(at) != 0x4550) {
    Refuse("offset " + Hex(at), "no \"PE\" header");
  }
  m_optional = at + 24;
  if (FileU16(m_optional) != kPe32) {
    Refuse("offset " + Hex(m_optional), "not a 32-bit image");
  }
  FileU32(m_optional + kOptionalSize - 4);  // the header is whole
  m_header = {.machine = FileU16(at + 4),
              .characteristics = FileU16(at + 22),
              .timeStamp = FileU32(at + 8),
              .entry = FileU32(m_optional + 16),
              .imageBase = FileU32(m_optional + 28),
              .sectionAlignment = FileU32(m_optional + 32),
              .subsystemMajor = FileU16(m_optional + 48),
              .subsystemMinor = FileU16(m_optional + 50),
              .imageSize = FileU32(m_optional + 56),
              .headersSize = FileU32(m_optional + 60),
              .subsystem = FileU16(m_optional + 68)};
  if (m_header.headersSize > m_bytes.size() || m_header.headersSize > m_header.imageSize) {
    Refuse("offset " + Hex(m_optional + 60), "the headers end beyond the file or the image");
  }
  ReadSections(m_optional + FileU16(at + 20), FileU16(at + 6));
}

void PeFile::ReadSections(std::uint32_t table, std::uint32_t count) {
  for (std::uint32_t at = table; at < table + count * kSectionRecord; at += kSectionRecord) {
    FileU32(at + kSectionRecord - 4);
    const auto name = std::span(m_bytes).subspan(at, 8);
    const std::uint32_t flags = FileU32(at + 36);
    Section section{.name = {name.begin(), std::find(name.begin(), name.end(), 0)},
                    .address = FileU32(at + 12),
                    .size = FileU32(at + 8),
                    .data = {},
                    .executable = (flags & kExecutable) != 0,
                    .writable = (flags & kWritable) != 0};
    const std::uint32_t inFile = std::min(FileU32(at + 16), section.size);
    const std::uint32_t offset = FileU32(at + 20);
    if (section.size > m_header.imageSize || section.address > m_header.imageSize - section.size) {
      Refuse("section " + section.name, "ends beyond the image");
    }
    if (inFile != 0 && (inFile > m_bytes.size() || offset > m_bytes.size() - inFile)) {
      Refuse("section " + section.name, "ends at offset " + Hex(offset + inFile) + ", beyond the file's " +
                                            Hex(static_cast<std::uint32_t>(m_bytes.size())) + " bytes");
    }
    section.data = std::span(m_bytes).subspan(inFile != 0 ? offset : 0, inFile);
    m_sections.push_back(section);
  }
}

void PeFile::ReadImports() {
  const std::uint32_t table = GetDirectory(kImports).address;
  for (std::uint32_t at = table; table != 0; at += 20) {
    if (ImageU32(at + 12) == 0) {
      return;
    }
    const std::uint32_t slots = ImageU32(at + 16);
    const std::uint32_t names = ImageU32(at);
    ReadImportsOf(ImageText(ImageU32(at + 12)), names != 0 ? names : slots, slots);
  }
}

void PeFile::ReadImportsOf(std::string library, std::uint32_t names, std::uint32_t slots) {
  std::transform(library.begin(), library.end(), library.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  for (std::uint32_t entry = 0; (entry = ImageU32(names)) != 0; names += 4, slots += 4) {
    Import import{.library = library, .name = {}, .ordinal = 0, .slot = slots};
    if ((entry & kByOrdinal) != 0) {
      import.ordinal = static_cast<std::uint16_t>(entry);
    } else {
      import.name = ImageText(entry + 2);
    }
    ImageU32(slots);
    m_imports.push_back(import);
    if (m_imports.size() > kMost) {
      Refuse("address " + Hex(names), "the import table has no end");
    }
  }
}

void PeFile::ReadExports() {
  const std::uint32_t table = GetDirectory(kExports).address;
  if (table == 0) {
    return;
  }
  const std::uint32_t count = ImageU32(table + 24);
  const std::uint32_t functions = ImageU32(table + 28);
  const std::uint32_t names = ImageU32(table + 32);
  const std::uint32_t ordinals = ImageU32(table + 36);
  if (count > kMost) {
    Refuse("address " + Hex(table + 24), "too many exports");
  }
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t address = ImageU32(functions + 4 * ImageU16(ordinals + 2 * i));
    if (address >= m_header.imageSize) {
      Refuse("export " + ImageText(ImageU32(names + 4 * i)), "stands beyond the image");
    }
    m_exports.push_back({ImageText(ImageU32(names + 4 * i)), address});
  }
}

void PeFile::ReadRelocations() {
  const Range table = GetDirectory(kRelocations);
  const std::uint32_t end = table.address + table.size;
  for (std::uint32_t at = table.address; table.address != 0 && at < end;) {
    const std::uint32_t page = ImageU32(at);
    const std::uint32_t size = ImageU32(at + 4);
    if (size < 8 || size > end - at) {
      Refuse("relocations at address " + Hex(at), "a block of a wrong size");
    }
    for (std::uint32_t entry = at + 8; entry + 2 <= at + size; entry += 2) {
      const std::uint16_t what = ImageU16(entry);
      if (what >> 12 == kRelocationNone) {
        continue;
      }
      const std::uint32_t word = page + (what & 0xFFF);
      if (what >> 12 != kRelocationWord || word > m_header.imageSize - 4) {
        Refuse("relocations at address " + Hex(entry), "an entry that no phone's loader applies");
      }
      m_relocations.push_back(word);
    }
    at += size;
  }
}

PeFile::Range PeFile::GetDirectory(Directory which) const {
  return {FileU32(m_optional + 96 + 8 * which), FileU32(m_optional + 100 + 8 * which)};
}

std::span<const std::uint8_t> PeFile::GetHeaders() const { return std::span(m_bytes).first(m_header.headersSize); }

std::uint16_t PeFile::FileU16(std::uint32_t offset) const {
  if (offset > m_bytes.size() || m_bytes.size() - offset < 2) {
    Refuse("offset " + Hex(offset), "the file ends here: it is cut off");
  }
  return static_cast<std::uint16_t>(Number(std::span(m_bytes).subspan(offset, 2)));
}

std::uint32_t PeFile::FileU32(std::uint32_t offset) const {
  const std::uint32_t low = FileU16(offset);
  return low | static_cast<std::uint32_t>(FileU16(offset + 2)) << 16;
}

std::span<const std::uint8_t> PeFile::ImageBytes(std::uint32_t address, std::uint32_t size) const {
  for (const Section& section : m_sections) {
    if (address >= section.address && size <= section.data.size() &&
        address - section.address <= section.data.size() - size) {
      return section.data.subspan(address - section.address, size);
    }
  }
  Refuse("address " + Hex(address), "a table points here, where no section is");
}

std::uint16_t PeFile::ImageU16(std::uint32_t address) const {
  return static_cast<std::uint16_t>(Number(ImageBytes(address, 2)));
}

std::uint32_t PeFile::ImageU32(std::uint32_t address) const { return Number(ImageBytes(address, 4)); }

std::string PeFile::ImageText(std::uint32_t address) const {
  std::string text;
  for (std::uint8_t c = 0; (c = ImageBytes(address, 1)[0]) != 0; ++address) {
    text.push_back(static_cast<char>(c));
  }
  return text;
}

}  // namespace pe
