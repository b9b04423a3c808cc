// One contact in memory, between the phone's object and the contactentry document: filled from the one and written to
// the other, or read from the other and applied to the one.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "agent/engine/ComReference.h"
#include "agent/engine/ReplyWriter.h"
#include "agent/engine/SystemString.h"
#include "agent/modules/pim/ContactFields.h"

class CContactRecord {
 public:
  // Takes everything from a contact. 0, or the result of the first read that failed; the picture never fails.
  ce::HRESULT Fill(ce::IContact& contact);
  // Writes the document, result 0 in front of it.
  void Write(CReplyWriter& reply) const;

  // Takes everything from a document. False when it is not well formed or without memory; the record is then of no use.
  bool Read(std::span<const std::uint8_t> document);
  // Makes the contact what the record says: what the record does not have is cleared, except for FileAs, which the
  // phone derives. Saves it. 0, or the result of the first call that failed.
  ce::HRESULT Apply(ce::IContact& contact) const;

 private:
  ce::HRESULT FillProperties(ce::IContact& contact);
  ce::HRESULT FillById(ce::IContact& contact);
  bool CopyById(std::span<const ce::CEPROPVAL> values);
  void FillPicture(ce::IContact& contact);
  void EncodePicture(ce::IStream& stream);

  void WriteDate(CReplyWriter& reply, std::size_t index) const;

  class CTokens;
  bool ReadElement(CTokens& tokens);
  bool ReadDate(CTokens& tokens, std::size_t index);
  bool ReadText(CTokens& tokens, std::size_t index);

  ce::HRESULT ApplyProperties(ce::IContact& contact, const CSystemString& none) const;
  ce::HRESULT ApplyText(ce::IContact& contact, std::size_t index, const CSystemString& none) const;
  ce::HRESULT ApplyById(ce::IContact& contact, const CSystemString& none) const;

  std::uint32_t m_oid = 0;
  std::array<ce::DATE, std::size(contact::kDates)> m_dates{ce::kNoDate, ce::kNoDate};
  std::array<CSystemString, contact::kTextCount> m_texts;  // null: absent
  std::uint32_t m_pictureLength = 0;
  std::unique_ptr<char[]> m_picture;  // base64; null: none
};
