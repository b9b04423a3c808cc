#include "desktop/backup/Domains.h"

#include <algorithm>
#include <array>

namespace brelix::backup {

namespace {

const std::array kDomains = {&kDeviceDomain,   &kContactsDomain, &kAgendaDomain, &kCallsDomain,
                             &kMessagesDomain, &kRegistryDomain, &kFilesDomain};

}  // namespace

std::span<const Domain* const> Domains() { return kDomains; }

const Domain* FindDomain(std::string_view name) {
  const auto at = std::ranges::find(kDomains, name, &Domain::name);
  return at == kDomains.end() ? nullptr : *at;
}

bool EndsEverything(const Failure& failure) {
  switch (failure.code()) {
    case Exit::kLocalFile:
    case Exit::kNoDevice:
    case Exit::kLinkLost:
    case Exit::kInterrupted:
    case Exit::kUnexpected:
      return true;
    default:
      return false;
  }
}

}  // namespace brelix::backup
