// What the phone is, its calls and its messages. Calls and messages have no names on the wire: what they tell first is
// what they are known by, and equal ones are told apart by their number only.
#include <algorithm>
#include <fmt/format.h>

#include "desktop/Client.h"
#include "desktop/TimeZone.h"
#include "desktop/calls/CallLog.h"
#include "desktop/diff/Telling.h"
#include "desktop/messages/MessageStore.h"

namespace brelix::diff {
namespace {

constexpr char kBetween = '\x1f';  // the parts of a key

std::optional<std::string> Text(const std::optional<LocalTime>& time) {
  if (!time) return std::nullopt;
  return TimeText(*time, 'T');
}

std::optional<std::string> Text(const std::optional<int64_t>& number) {
  if (!number) return std::nullopt;
  return std::to_string(*number);
}

std::optional<std::string> Text(const std::optional<bool>& yes) {
  if (!yes) return std::nullopt;
  return *yes ? "yes" : "no";
}

Item ItemOf(const Call& call) {
  const std::string start = Text(call.start).value_or("at an unknown time");
  const std::string direction = call.direction.value_or("of unknown direction");
  const std::string number = call.number.value_or("");
  Item item{start + kBetween + direction + kBetween + number, fmt::format("{} {} {}", start, direction, number), {}};
  item.AddIf("end", Text(call.end));
  item.AddIf("progress", call.progress);
  item.AddIf("caller_id", call.caller_id);
  item.AddIf("phone_type", call.phone_type);
  item.AddIf("name", call.name);
  return item;
}

std::string People(const Message& message) {
  if (message.direction == Message::Direction::kIncoming)
    return message.address.value_or(message.sender.value_or("somebody unknown"));
  std::string all;
  for (const Recipient& recipient : message.recipients)
    all += (all.empty() ? "" : ", ") + recipient.address.value_or(recipient.name.value_or("somebody unknown"));
  return all;
}

std::string When(const Message& message) {
  if (!message.time) return "at an unknown time";
  return TimeText(*message.time, 'T');
}

Item ItemOf(const std::string& folder, const Message& message) {
  const bool incoming = message.direction == Message::Direction::kIncoming;
  const std::string people = People(message), when = When(message), subject = message.subject.value_or("");
  const char* const direction = incoming ? "from" : "to";
  Item item{folder + kBetween + when + kBetween + direction + people + kBetween + subject,
            fmt::format("{} {} {} {}: {}", folder, when, direction, people, subject),
            {}};
  item.AddIf("sender", message.sender);
  for (size_t i = 0; i < message.recipients.size(); i++)
    item.AddIf(fmt::format("recipient {}", i + 1), message.recipients[i].name);
  return item;
}

class Messages {
 public:
  Messages(Session& session, const ReadWatch& watch, const TakeItem& take)
      : store_(session), watch_(watch), take_(take) {}

  void Read() {
    for (const std::string& account : Told("account", store_.Accounts())) Try(account, [&] { ReadAccount(account); });
  }

 private:
  void ReadAccount(const std::string& account) {
    for (const std::string& folder : Told("folder", store_.Folders(account), account + "/")) {
      const std::string path = account + "/" + folder;
      Try(path, [&] {
        WalkMessages(store_, account, folder, Telling<Message>(path + ": message", watch_, [&](const Message& message) {
                       take_(ItemOf(path, message));
                     }));
      });
    }
  }

  // The names, each told as an item. Of several that are the same a phone finds the first only.
  std::vector<std::string> Told(const char* what, const Names& names, const std::string& before = "") {
    std::vector<std::string> once;
    for (const std::string& name : names.names) {
      take_({what + (kBetween + before + name), fmt::format("{} {}{}", what, before, name), {}});
      if (std::find(once.begin(), once.end(), name) == once.end())
        once.push_back(name);
      else
        watch_.complain(fmt::format("there are two {}s {}{}; only the first can be read", what, before, name));
    }
    return once;
  }

  template <typename Act>
  void Try(const std::string& where, Act act) {
    try {
      act();
    } catch (const Failure& failure) {
      const Exit code = failure.code();
      if (code != Exit::kPhoneError && code != Exit::kProtocol && code != Exit::kUsage) throw;
      watch_.complain(fmt::format("{}: {}", where, failure.what()));
    }
  }

  MessageStore store_;
  const ReadWatch& watch_;
  const TakeItem& take_;
};

}  // namespace

void ReadDevice(Session& session, const ReadOptions& options, const ReadWatch&, const TakeItem& take) {
  Client phone(session);
  Item item{"phone", "the phone", {}};
  const PermanentInfo info = phone.PermanentInfo();
  item.AddIf("imei", info.imei);
  item.AddIf("number", phone.SubscriberNumber());
  item.AddIf("manufacturer", info.manufacturer);
  item.AddIf("model", info.model);
  item.AddIf("radio_version", info.radio_version);
  item.AddIf("os_version", info.os_version);
  item.AddIf("storage_card", info.storage_card);
  if (options.all) {
    const VolatileInfo now = phone.VolatileInfo();
    item.AddIf("phone_time", Text(now.phone_time));
    item.AddIf("memory_load_percent", Text(now.memory_load_percent));
    item.AddIf("memory_total_bytes", Text(now.memory_total));
    item.AddIf("memory_available_bytes", Text(now.memory_available));
    item.AddIf("ac_power", Text(now.ac_power));
    item.AddIf("battery", now.battery);
    item.AddIf("battery_percent", Text(now.battery_percent));
  }
  take(std::move(item));
}

void ReadCalls(Session& session, const ReadOptions&, const ReadWatch& watch, const TakeItem& take) {
  CallLog log(session);
  WalkCalls(log, Telling<Call>("call", watch, [&](const Call& call) { take(ItemOf(call)); }));
}

void ReadMessages(Session& session, const ReadOptions&, const ReadWatch& watch, const TakeItem& take) {
  Messages(session, watch, take).Read();
}

}  // namespace brelix::diff
