// The way from the session down to a folder's messages, each step opened inside the one before. What is open is given
// back from the messages up: by Close, and with the scope.
#pragma once

#include <cstdint>
#include <string_view>

#include "agent/engine/ComReference.h"
#include "platform/Mapi.h"

struct CMailPath {
  // Opens the message store of this name and the root of its message tree. Each of these answers an outcome.
  std::uint32_t OpenAccount(ce::IMAPISession& session, std::u16string_view account);
  // And the list of its own folders.
  std::uint32_t OpenFolderList(ce::IMAPISession& session, std::u16string_view account);
  // And the folder of this name, which is directly below the root.
  std::uint32_t OpenFolder(ce::IMAPISession& session, std::u16string_view account, std::u16string_view folder);
  // And its messages, newest first, with the columns below.
  std::uint32_t OpenMessages(ce::IMAPISession& session, std::u16string_view account, std::u16string_view folder);

  void Close();

  // The places of a message's columns.
  enum Column : std::uint8_t { kSender, kSubject, kDelivered, kEntryId, kColumnCount };

  CComReference<ce::IMAPITable> stores;
  CComReference<ce::IMsgStore> store;
  CComReference<ce::IMAPIFolder> root;
  CComReference<ce::IMAPITable> hierarchy;
  CComReference<ce::IMAPIFolder> folder;
  CComReference<ce::IMAPITable> contents;
};
