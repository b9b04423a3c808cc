// Every number of the wire that a desktop needs, in one place. docs/protocol.md says what they mean.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace brelix::wire {

inline constexpr std::string_view kStartMark = "XXXX";
inline constexpr std::string_view kEndMark = "ZZZZ";
inline constexpr size_t kHeaderSize = 10;  // start mark, module, command, length
inline constexpr size_t kTrailerSize = 6;  // packet number, end mark
inline constexpr size_t kFrameOverhead = kHeaderSize + kTrailerSize;
inline constexpr size_t kMaxRequest = 16384;   // all an agent can hold
inline constexpr size_t kMaxReply = 1u << 20;  // an agent builds at most 929,792 bytes
inline constexpr size_t kMaxGarbage = 1u << 16;

inline constexpr uint32_t kRefusedResult = 0xFFFFFFFF;

enum Module : uint16_t { kSystem = 1, kContacts = 3, kAgenda = 4, kCallLog = 5, kMessaging = 6 };

enum SystemCommand : uint16_t {
  kOpen = 1,
  kClose = 3,
  kSerialNumber = 7,
  kPermanentInfo = 15,
  kVolatileInfo = 17,
  kOpenListing = 51,
  kNextListing = 53,
  kCloseListing = 55,
  kOpenFile = 57,
  kReadFile = 59,
  kCloseFile = 61,
  kFileInfo = 93,
  kListKeys = 103,
  kListValues = 105,
  kReadValue = 107,
  kHandshake = 247,
  kSubscriberNumber = 257,
  kExit = 2303,
};

// Contacts and agenda share the first four.
enum ItemCommand : uint16_t {
  kOpenItems = 1,
  kCloseItems = 3,
  kItemCount = 5,
  kGetItem = 9,
};

enum ContactCommand : uint16_t {
  kDeleteContact = 11,
  kSetContact = 13,
  kAppendPicture = 15,
  kSetPicture = 17,
};

inline constexpr size_t kMaxText = 255;          // bytes of one text or tag in a document for the phone
inline constexpr size_t kMaxPicture = 1u << 19;  // bytes an agent collects before they are set

enum CallCommand : uint16_t {
  kCountCalls = 1,
  kFirstCall = 3,
  kLastCall = 5,
  kNextCall = 7,
  kPreviousCall = 9,
  kReadCall = 41,
};

enum MessagingCommand : uint16_t {
  kSelectAccount = 1,
  kClearAccount = 3,
  kSelectFolder = 5,
  kClearFolder = 7,
  kListAccounts = 9,
  kListFolders = 11,
  kCountMessages = 13,
  kNextMessage = 15,
  kSendSms = 17,
  kSmsStatus = 19,
};

// Whether the request leaves the phone's data as they are. A request that is not known here may do anything.
bool OnlyReads(uint16_t module, uint16_t command);

// Codes of the phone that are part of a conversation rather than failures.
inline constexpr uint32_t kFileNotFound = 2;
inline constexpr uint32_t kNoMoreFiles = 18;
inline constexpr uint32_t kMoreData = 234;

// A phone tells the numbers of calls and of messages modulo this.
inline constexpr uint64_t kCountWraps = 65536;

inline constexpr size_t kResultSize = 4;
inline constexpr size_t kFileChunk = 16364;  // bytes of a file in one answer, at most

// Requests that a stream has under way at a time. Of 16 bytes each they fill an agent's buffer twice.
inline constexpr size_t kWindow = 2048;
inline constexpr size_t kMostWindow = 4000;  // of 4080 packet numbers

// How long a link must be silent before an answer whose end is not certain is taken as complete.
inline constexpr std::chrono::milliseconds kQuiet{300};

// How long an agent that owes an answer may be silent before it gets a byte that makes it look at what it holds.
inline constexpr std::chrono::milliseconds kNudgeAfter{500};

}  // namespace brelix::wire
