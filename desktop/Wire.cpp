#include "desktop/Wire.h"

#include <algorithm>
#include <iterator>

namespace brelix::wire {
namespace {

constexpr struct {
  uint16_t module, command;
} kReading[] = {
    {kSystem, kOpen},
    {kSystem, kClose},
    {kSystem, kSerialNumber},
    {kSystem, kPermanentInfo},
    {kSystem, kVolatileInfo},
    {kSystem, kOpenListing},
    {kSystem, kNextListing},
    {kSystem, kCloseListing},
    {kSystem, kOpenFile},
    {kSystem, kReadFile},
    {kSystem, kCloseFile},
    {kSystem, kFileInfo},
    {kSystem, kListKeys},
    {kSystem, kListValues},
    {kSystem, kReadValue},
    {kSystem, kHandshake},
    {kSystem, kSubscriberNumber},
    {kSystem, kExit},
    {kContacts, kOpenItems},
    {kContacts, kCloseItems},
    {kContacts, kItemCount},
    {kContacts, kGetItem},
    {kAgenda, kOpenItems},
    {kAgenda, kCloseItems},
    {kAgenda, kItemCount},
    {kAgenda, kGetItem},
    {kCallLog, kCountCalls},
    {kCallLog, kFirstCall},
    {kCallLog, kLastCall},
    {kCallLog, kNextCall},
    {kCallLog, kPreviousCall},
    {kCallLog, kReadCall},
    {kMessaging, kSelectAccount},
    {kMessaging, kClearAccount},
    {kMessaging, kSelectFolder},
    {kMessaging, kClearFolder},
    {kMessaging, kListAccounts},
    {kMessaging, kListFolders},
    {kMessaging, kCountMessages},
    {kMessaging, kNextMessage},
    {kMessaging, kSmsStatus},
};

}  // namespace

bool OnlyReads(uint16_t module, uint16_t command) {
  return std::any_of(std::begin(kReading), std::end(kReading),
                     [&](const auto& row) { return row.module == module && row.command == command; });
}

}  // namespace brelix::wire
