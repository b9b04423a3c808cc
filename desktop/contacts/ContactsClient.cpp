#include "desktop/contacts/ContactsClient.h"

#include <fmt/format.h>

#include "desktop/Wire.h"
#include "desktop/contacts/PictureChunks.h"

namespace brelix {

namespace {

[[noreturn]] void CannotRead(Exit code, const Session& session, uint32_t position, const std::string& why) {
  throw ContactFailure(
      code, fmt::format("{}: the contact at position {} cannot be read: {}", session.address(), position, why), why);
}

}  // namespace

void ContactsClient::All(uint32_t count, const std::function<bool(uint32_t, const Document&)>& visit) {
  items_.AskAll(count, [&](uint32_t position, Result result) {
    return visit(position, [&] { return DocumentIn(position, std::move(result)); });
  });
}

Bytes ContactsClient::DocumentIn(uint32_t position, Result result) const {
  if (result.code == wire::kRefusedResult) CannotRead(Exit::kRefused, session_, position, "the phone refused it");
  if (result.code != 0) CannotRead(Exit::kPhoneError, session_, position, PhoneErrorText(result.code));
  return std::move(result.data);
}

Contact ContactsClient::Read(uint32_t position, ByteView document) const {
  try {
    return ReadContactDocument({reinterpret_cast<const char*>(document.data()), document.size()});
  } catch (const Failure& broken) {
    CannotRead(Exit::kProtocol, session_, position, broken.what());
  }
}

Contact ContactsClient::At(uint32_t position) {
  return Read(position, DocumentIn(position, items_.Ask(wire::kGetItem, position)));
}

void ContactsClient::NeedSuccess(const Result& result, uint32_t oid, const char* what) const {
  if (result.code == 0) return;
  const std::string contact = oid == 0 ? "a new contact" : fmt::format("contact {}", oid);
  const bool refused = result.code == wire::kRefusedResult;
  throw ContactFailure(refused ? Exit::kRefused : Exit::kPhoneError,
                       fmt::format("{}: {} {}: {}", session_.address(), what, contact,
                                   refused ? "the phone refused it" : PhoneErrorText(result.code)));
}

uint32_t ContactsClient::Put(uint32_t oid, const Contact& contact, EmptyFileAs file_as) {
  const std::string document = WriteContactDocument(contact, file_as);
  const Result result =
      items_.Ask(wire::kSetContact, oid, {reinterpret_cast<const uint8_t*>(document.data()), document.size()});
  NeedSuccess(result, oid, "writing");
  if (result.data.size() != 4)
    throw Failure(Exit::kProtocol, fmt::format("{}: the answer to writing a contact has {} bytes instead of 8",
                                               session_.address(), result.data.size() + 4));
  return Read32(result.data, 0);
}

void ContactsClient::Delete(uint32_t oid) { NeedSuccess(items_.Ask(wire::kDeleteContact, oid), oid, "deleting"); }

void ContactsClient::SetPicture(uint32_t oid, ByteView picture, const std::function<void(size_t)>& sent) {
  if (picture.size() > wire::kMaxPicture)
    throw ContactFailure(Exit::kWouldLoseData, fmt::format("the picture has {} bytes; a phone takes at most {}",
                                                           picture.size(), wire::kMaxPicture));
  // What an earlier desktop uploaded and never set would become the beginning of ours. Setting it for nobody, which is
  // refused, makes the phone forget it.
  session_.AskResult(kModule, wire::kSetPicture);
  size_t done = 0;
  for (const ByteView chunk : PictureChunks(picture)) {
    NeedSuccess(session_.AskResult(kModule, wire::kAppendPicture, chunk), oid, "sending the picture of");
    done += chunk.size();
    if (sent) sent(done);
  }
  NeedSuccess(items_.Ask(wire::kSetPicture, oid), oid, "setting the picture of");
}

}  // namespace brelix
