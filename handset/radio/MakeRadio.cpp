#include <cstdio>
#include <fmt/format.h>

#include "handset/radio/BluezRadio.h"
#include "handset/radio/ScriptedRadio.h"

namespace handset {

std::unique_ptr<Radio> MakeRadio(RadioProvider provider, Phone& phone) {
  if (provider == RadioProvider::kScripted) return std::make_unique<ScriptedRadio>(phone);
  BluezOptions options;
  options.report = [](const std::string& line) { std::fputs(fmt::format("Bluetooth: {}\n", line).c_str(), stderr); };
  return OpenBluez(std::move(options)).radio;
}

}  // namespace handset
