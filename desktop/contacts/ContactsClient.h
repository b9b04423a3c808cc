// The contacts of a phone, as a desktop program asks for them. Failures are thrown as Failure; one that concerns a
// single contact leaves the session usable.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "desktop/ItemCollection.h"
#include "desktop/contacts/Contact.h"
#include "desktop/contacts/ContactDocument.h"

namespace brelix {

// What concerns one contact only. The session is as good as before, and the next contact may be asked for.
class ContactFailure : public Failure {
 public:
  using Failure::Failure;
  ContactFailure(Exit code, const std::string& text, std::string reason)
      : Failure(code, text), reason_(std::move(reason)) {}
  // Without the address and the contact, where it has them.
  std::string reason() const { return reason_.empty() ? what() : reason_; }

 private:
  std::string reason_;
};

// Failures that are no ContactFailure end the work.
class ContactsClient {
 public:
  // Opens the collection; the session is opened already. Contacts that are made or deleted from here on may move the
  // others.
  explicit ContactsClient(Session& session) : session_(session), items_(session, kModule) {}

  uint32_t Count() { return items_.Count(); }
  // The contact at a position, 1 to Count().
  Contact At(uint32_t position);
  // The phone's documents at the positions 1 to the count, asked for ahead. `get` throws what At throws; false from
  // `visit` ends the work.
  using Document = std::function<Bytes()>;
  void All(uint32_t count, const std::function<bool(uint32_t position, const Document& get)>& visit);
  // The contact of a document that came from a position.
  Contact Read(uint32_t position, ByteView document) const;

  // Makes the phone's contact with this object id this one, or a new one for id 0. Returns the id. The picture stays.
  uint32_t Put(uint32_t oid, const Contact& contact, EmptyFileAs file_as);
  void Delete(uint32_t oid);
  // An empty picture removes the one there is. The caller is told how many bytes have gone, and may throw.
  void SetPicture(uint32_t oid, ByteView picture, const std::function<void(size_t)>& sent = {});

 private:
  static constexpr uint16_t kModule = 3;
  Bytes DocumentIn(uint32_t position, Result result) const;
  void NeedSuccess(const Result& result, uint32_t oid, const char* what) const;

  Session& session_;
  ItemCollection items_;
};

}  // namespace brelix
