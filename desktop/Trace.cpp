#include "desktop/Trace.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>

#include "desktop/Failure.h"
#include "desktop/Wire.h"

namespace brelix {
namespace {

struct ModuleRow {
  uint16_t module;
  std::string_view name;
};
constexpr ModuleRow kModules[] = {{wire::kSystem, "system"},
                                  {wire::kContacts, "contacts"},
                                  {wire::kAgenda, "agenda"},
                                  {wire::kCallLog, "call log"},
                                  {wire::kMessaging, "messaging"}};

std::string_view ModuleName(uint16_t module) {
  const auto* row = std::find_if(std::begin(kModules), std::end(kModules),
                                 [&](const ModuleRow& each) { return each.module == module; });
  return row == std::end(kModules) ? "unknown module" : row->name;
}

std::string Headline(uint16_t module, uint16_t command, uint16_t length, uint16_t number, size_t data) {
  return fmt::format("module {} ({}), command {}, length {}, packet 0x{:04X}, {} data bytes", module,
                     ModuleName(module), command, length, number, data);
}

void Append16(Bytes& out, uint16_t value) {
  out.push_back(static_cast<uint8_t>(value >> 8));
  out.push_back(static_cast<uint8_t>(value));
}

// A received frame as it stood on the wire.
Bytes Whole(const Frame& frame) {
  Bytes out(wire::kStartMark.begin(), wire::kStartMark.end());
  for (const uint16_t field : {frame.module, frame.command, frame.length}) Append16(out, field);
  out.insert(out.end(), frame.data.begin(), frame.data.end());
  Append16(out, frame.number);
  out.insert(out.end(), wire::kEndMark.begin(), wire::kEndMark.end());
  return out;
}

}  // namespace

std::string HexDump(ByteView bytes) {
  std::string out;
  for (size_t at = 0; at < bytes.size(); at += 16) {
    const ByteView line = bytes.subspan(at, std::min<size_t>(16, bytes.size() - at));
    std::string hex, text;
    for (const uint8_t byte : line) {
      hex += fmt::format("{:02x} ", byte);
      text += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.';
    }
    out += fmt::format("  {:06x}  {:<48} {}\n", at, hex, text);
  }
  return out;
}

Trace::Trace(const std::string& path) : path_(path), file_(std::fopen(path.c_str(), "we"), std::fclose) {
  if (!file_) throw Failure(Exit::kLocalFile, fmt::format("{}: cannot be written: {}", path, std::strerror(errno)));
}

void Trace::Write(std::string_view direction, std::string_view headline, ByteView bytes) {
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  const std::string text = fmt::format("{:10.6f} {} {}\n{}", seconds, direction, headline, HexDump(bytes));
  std::fwrite(text.data(), 1, text.size(), file_.get());
}

void Trace::Sent(ByteView frame) {
  Write(">",
        Headline(Read16(frame, 4), Read16(frame, 6), Read16(frame, 8), Read16(frame, frame.size() - 6),
                 frame.size() - wire::kFrameOverhead),
        frame);
}

void Trace::Received(const Frame& frame) {
  Write("<", Headline(frame.module, frame.command, frame.length, frame.number, frame.data.size()), Whole(frame));
}

void Trace::Loose(std::string_view direction, ByteView bytes) {
  if (!bytes.empty()) Write(direction, fmt::format("{} bytes that are no frame", bytes.size()), bytes);
}

void Trace::Filler(size_t bytes) { Write(">", fmt::format("{} bytes of filler, all 00", bytes), {}); }

void Trace::Finish() {
  if (!file_) return;
  const bool written = std::ferror(file_.get()) == 0;
  if (std::fclose(file_.release()) != 0 || !written)
    throw Failure(Exit::kLocalFile, fmt::format("{}: the trace is not complete: {}", path_, std::strerror(errno)));
}

}  // namespace brelix
