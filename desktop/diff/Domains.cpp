#include "desktop/diff/Domains.h"

namespace brelix::diff {
namespace {

// One row a line.
// clang-format off
constexpr Domain kDomains[] = {
    {"device", "who the phone is", ReadDevice},
    {"contacts", "contacts with their pictures", ReadContacts},
    {"agenda", "appointments", ReadAgenda},
    {"calls", "the call history", ReadCalls},
    {"messages", "accounts, folders and messages", ReadMessages},
    {"files", "files and folders", ReadFiles},
    {"registry", "the registry's keys and values", ReadRegistry},
};
// clang-format on

}  // namespace

std::span<const Domain> Domains() { return kDomains; }

}  // namespace brelix::diff
