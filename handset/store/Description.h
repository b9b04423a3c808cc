// What a phone is: the facts that a description gives and that the store keeps.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "handset/Text.h"
#include "handset/store/Appointment.h"
#include "handset/store/BoxAnswer.h"
#include "handset/store/ClockSetting.h"
#include "handset/store/Contact.h"
#include "handset/store/FaultRule.h"
#include "handset/store/FileTime.h"
#include "handset/store/RadioProvider.h"

namespace handset {

struct Line {
  std::u16string name;
  // Absent: the radio's record leaves the text out.
  std::optional<std::u16string> manufacturer = u"";
  std::optional<std::u16string> model = u"";
  std::optional<std::u16string> revision = u"";
  std::optional<std::u16string> serialNumber = u"";
  std::optional<std::u16string> subscriberNumber = u"";
  bool radioOff = false;
  bool operationUnavailable = false;
};

struct Os {
  std::uint32_t major = 5;
  std::uint32_t minor = 2;
  std::uint32_t build = 1620;
  std::uint32_t platform = 3;
  bool queryFails = false;
};

struct Memory {
  std::uint32_t load = 40;
  std::uint32_t totalPhysical = 64U << 20;
  std::uint32_t availablePhysical = 38U << 20;
};

struct Power {
  std::uint8_t acLine = 0;
  std::uint8_t batteryFlag = 1;
  std::uint8_t batteryPercent = 100;
  bool queryFails = false;
};

struct RegistryRoot {
  std::int64_t id;  // in the store
  std::uintptr_t handle;
  std::string_view name;
  std::string_view longName;
};
inline constexpr std::array<RegistryRoot, 4> kRegistryRoots = {{{1, 0x80000000, "HKCR", "HKEY_CLASSES_ROOT"},
                                                                {2, 0x80000001, "HKCU", "HKEY_CURRENT_USER"},
                                                                {3, 0x80000002, "HKLM", "HKEY_LOCAL_MACHINE"},
                                                                {4, 0x80000003, "HKU", "HKEY_USERS"}}};
// Null when the handle is no root's.
const RegistryRoot* FindRoot(std::uintptr_t handle);

struct RegistryValue {
  std::u16string name;
  std::uint32_t type = 0;
  Bytes data;
};

// A value without its data.
struct RegistryValueHead {
  std::u16string name;
  std::uint32_t type = 0;
};

struct RegistryKey {
  std::u16string path;  // the root's short name first
  std::vector<RegistryValue> values;
};

// One call of the history. Directions, flags and caller-id types are the phone's own numbers, odd ones included.
struct CallEntry {
  FileTime start = 0;
  FileTime end = 0;
  std::uint32_t direction = 0;
  std::uint32_t flags = 0;
  std::uint32_t callerId = 0;
  // Absent: the phone hands out no text.
  std::optional<std::u16string> number;
  std::optional<std::u16string> name;
  std::optional<std::u16string> phoneType;
  std::optional<std::u16string> note;
};

// What is absent in accounts, folders and messages is a property that the phone does not have.
struct MailRecipient {
  std::optional<std::u16string> name;
  std::optional<std::u16string> address;
  bool addressFirst = false;  // in the order of the recipient's columns
};

struct MailMessage {
  std::optional<std::u16string> senderName;
  std::optional<std::u16string> senderAddress;
  std::optional<std::u16string> subject;
  std::optional<FileTime> delivered;
  std::vector<MailRecipient> recipients;
  bool hasEntryId = true;
};

struct MailFolder {
  std::optional<std::u16string> name;
  std::vector<MailFolder> folders;
  std::vector<MailMessage> messages;
  bool tellsCount = true;
  std::optional<std::uint32_t> reportedCount;  // in place of the true one
};

struct MailAccount {
  std::optional<std::u16string> name;
  std::vector<MailFolder> folders;
};

// What the network says of a message when it is asked, one step after the other; the last one stays.
struct SmsStep {
  std::uint32_t queries = 1;
  std::array<std::uint32_t, 2> status{};  // the phone's two status words
  std::optional<std::uint32_t> result;    // the query fails with this code
};

struct SmsRule {
  std::optional<std::u16string> to;      // absent: every destination
  std::optional<std::uint32_t> refused;  // sending fails with this code
  std::vector<SmsStep> steps;
};

struct Sms {
  std::uint32_t nextId = 1;
  std::vector<SmsRule> delivery;
};

// A message that was sent, as the phone was asked to send it.
struct OutboxMessage {
  std::uint32_t id = 0;
  FileTime sent = 0;
  std::u16string to;
  std::u16string text;
  std::optional<std::u16string> serviceCentre;  // absent: the phone's own
  std::uint32_t options = 0;                    // 2: with a status report
  std::uint32_t messageClass = 1;
  std::uint32_t replaceOption = 0;
  std::uint32_t encoding = 0;  // 0: the phone chooses, 1 GSM, 2 UCS-2
  std::uint32_t queries = 0;   // how often its status was asked for
};

// A service record that the scripted radio publishes: SDP data elements.
struct ServiceRecord {
  std::uint32_t handle = 0;
  Bytes bytes;
};

struct Bluetooth {
  RadioProvider provider = RadioProvider::kScripted;
  // All that follows is the scripted radio's.
  std::uint32_t mode = 1;                    // connectable
  std::vector<std::uint32_t> takenChannels;  // other programs have them
  bool takesNoDelay = false;                 // RFCOMM sockets accept the TCP no-delay option
  std::vector<ServiceRecord> records;
};

// A file or folder. Without content, size and isFolder it is one that something else puts there.
struct PhoneFile {
  std::u16string path;
  bool isFolder = false;
  std::optional<Bytes> content = {};
  std::optional<std::uint64_t> size = {};  // bytes; the content is repeated or cut
  std::optional<FileTime> modified = {};
  std::optional<std::uint32_t> attributes = {};  // absent: archive for a file, none for a folder
};
// By folded name.
using FileAttributes = std::map<std::u16string, std::uint32_t>;

struct Description {
  std::vector<Line> lines = {{.name = u"Cellular Line"}};
  Os os;
  Memory memory;
  Power power;
  ClockSetting clock;
  std::vector<RegistryKey> registry;
  std::vector<Contact> contacts;
  std::vector<Appointment> appointments;
  std::vector<BoxAnswer> messageBoxes;
  std::vector<FaultRule> faults;
  std::vector<CallEntry> calls;
  std::vector<MailAccount> accounts;
  Sms sms;
  std::vector<OutboxMessage> outbox;
  Bluetooth bluetooth;
  std::vector<PhoneFile> files;
};

// Throw DescriptionError.
Description ParseDescription(const nlohmann::json& json);
nlohmann::json ReadDescriptionFile(const std::filesystem::path& file);

// The JSON from which ParseDescription makes the same.
nlohmann::json PrintDescription(const Description& description);

}  // namespace handset
