#include "handset/phone/Outbox.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "programs/phone/Commands.h"

namespace brelix_phone {
namespace {

using nlohmann::json;

// One line for people: what is no plain text is shown as JSON shows it.
std::string Shown(const json& text) {
  if (!text.is_string()) return text.dump();
  const auto& value = text.get_ref<const std::string&>();
  const bool plain =
      std::ranges::none_of(value, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
  return plain ? value : text.dump();
}

void PrintForPeople(const json& message) {
  fmt::print("{:>6}  {}  to {}{}{}  {} {} in {} {}\n        {}\n", message["id"].get<std::uint32_t>(),
             Shown(message["sent"]), Shown(message["to"]),
             message.contains("serviceCentre") ? " by " + Shown(message["serviceCentre"]) : "",
             message["report"].get<bool>() ? ", report wanted" : "", message["units"].get<std::uint32_t>(),
             message["alphabet"] == "UCS-2" ? "16-bit units" : "septets", message["parts"].get<std::uint32_t>(),
             message["parts"] == 1 ? "part" : "parts", Shown(message["text"]));
}

}  // namespace

int Outbox(const std::filesystem::path& folder, bool asJson) {
  const auto phone = handset::Handset::Open(folder);
  for (const json& message : handset::ListOutbox(*phone)) {
    if (asJson) {
      fmt::print("{}\n", message.dump());
    } else {
      PrintForPeople(message);
    }
  }
  if (std::fflush(stdout) != 0) throw std::runtime_error("the outbox could not be written to standard output");
  return kExitOk;
}

}  // namespace brelix_phone
