#include "desktop/cli/RawCommand.h"

#include <charconv>
#include <fmt/format.h>
#include <memory>

#include "desktop/Text.h"

namespace brelix::cli {
namespace {

struct RawRequest {
  uint16_t module = 0, command = 0;
  Bytes data;
  bool no_handshake = false;
  bool no_open = false;
};

uint16_t Word(const std::string& text, const char* what) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  const char* from = text.data() + (hex ? 2 : 0);
  const char* to = text.data() + text.size();
  uint16_t value = 0;
  const auto [end, error] = std::from_chars(from, to, value, hex ? 16 : 10);
  if (from == to || end != to || error != std::errc())
    throw Failure(Exit::kUsage,
                  fmt::format("raw: {} \"{}\" is not a number from 0 to 65535 (0x for hexadecimal)", what, text));
  return value;
}

Bytes FromHex(const std::vector<std::string>& words) {
  std::string digits;
  for (const std::string& word : words) digits += word;
  Bytes out;
  for (size_t at = 0; at < digits.size(); at += 2) {
    uint8_t byte = 0;
    const char* from = digits.data() + at;
    const auto [end, error] = std::from_chars(from, from + std::min<size_t>(2, digits.size() - at), byte, 16);
    if (end != from + 2 || error != std::errc())
      throw Failure(Exit::kUsage, fmt::format("raw: the data must be pairs of hexadecimal digits; digit {} is "
                                              "not one, or stands alone",
                                              at + 1));
    out.push_back(byte);
  }
  return out;
}

Exit Raw(const RawRequest& request, Context& context) {
  static constexpr const char* kKinds[] = {"answer", "refused", "default"};
  if (!request.no_handshake) context.session.Handshake();
  if (!request.no_handshake && !request.no_open) context.phone.Open();
  const Reply reply = context.session.Ask(request.module, request.command, request.data);
  const Frame& frame = reply.frame;
  Report& report = context.report;
  const char* kind = kKinds[static_cast<int>(reply.kind)];
  report.Add("Reply", std::string(kind), "kind", kind);
  report.Add("Module", std::to_string(frame.module), "module", frame.module);
  report.Add("Command", std::to_string(frame.command), "command", frame.command);
  report.Add("Packet number", fmt::format("0x{:04X}", frame.number), "packet_number", frame.number);
  report.Add("Length field", std::to_string(frame.length), "length_field", frame.length);
  report.Add("Data", fmt::format("{} bytes", frame.data.size()), "data",
             Hex({reinterpret_cast<const char*>(frame.data.data()), frame.data.size()}));
  report.Below(HexDump(frame.data));
  return reply.kind == Reply::Kind::kAnswer ? Exit::kOk : Exit::kRefused;
}

}  // namespace

void DeclareRaw(CLI::App& app, Action& chosen) {
  struct Words {
    std::string module, command;
    std::vector<std::string> hex;
    RawRequest request;
  };
  const auto words = std::make_shared<Words>();
  CLI::App* raw = app.add_subcommand("raw", "Send one request as it is and show the reply");
  raw->add_option("MODULE", words->module, "Module number, 0x for hexadecimal")->required();
  raw->add_option("COMMAND", words->command, "Command number, 0x for hexadecimal")->required();
  raw->add_option("HEX", words->hex, "Data as hexadecimal digits");
  raw->add_flag("--no-handshake", words->request.no_handshake, "Send nothing before it, neither handshake nor open");
  raw->add_flag("--no-open", words->request.no_open, "Send it after the handshake alone");
  raw->callback([words, &chosen] {
    RawRequest& request = words->request;
    request.module = Word(words->module, "module");
    request.command = Word(words->command, "command");
    request.data = FromHex(words->hex);
    constexpr uint16_t kAnyNumber = 0xF000;
    BuildRequest(request.module, request.command, request.data, kAnyNumber);  // throws what cannot be sent
    chosen = [words](Context& context) { return Raw(words->request, context); };
  });
}

}  // namespace brelix::cli
