// Making contacts on a phone out of a vCard file.
#pragma once

#include <string>
#include <vector>

#include "desktop/cli/Commands.h"
#include "desktop/contacts/ContactWalk.h"
#include "desktop/vcard/VCardReader.h"

namespace brelix::cli {

// Why the wire cannot carry a contact, all reasons in one text; empty when it can. The picture counts too.
std::string ReasonsAgainst(const Contact& contact);

class ContactImport {
 public:
  // Goes through the whole file, so that a file that is damaged anywhere fails before a phone is bothered. What cannot
  // be taken over is told on standard error, card by card.
  ContactImport(std::string path, bool allow_loss);

  // What would be made. Nothing is sent.
  Exit Show(bool json);
  // Makes the contacts, each written, read back and compared. A card that cannot be written is told and passed over.
  Exit Run(Context& context);

 private:
  // Gives every card that can be written, with its number in the file.
  void ForEach(const std::function<void(size_t number, Contact& contact)>& use, bool complain);
  void Shorten(Contact& contact, size_t number, bool complain) const;
  void Make(ContactsClient& contacts, size_t number, Contact& contact);
  bool ReadBack(ContactsClient& contacts, size_t number, const Contact& contact);
  void CheckLate(Context& context);
  void Failed(size_t number, const std::string& why);
  Exit Outcome() const { return failed_ == 0 ? Exit::kOk : Exit::kPartial; }

  // What is compared at the end, for contacts that could not be found again at once.
  struct Unread {
    size_t number;
    Contact contact;
  };

  const std::string path_;
  const bool allow_loss_;
  size_t cards_ = 0, unusable_ = 0, failed_ = 0, made_ = 0;
  uint32_t last_position_ = 0;
  std::map<uint32_t, Unread> unread_;
};

}  // namespace brelix::cli
