// Who the phone's radio is: five texts that the cellular line's driver tells, read once at start-up over TAPI.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/Tapi.h"

class CRadioIdentity {
 public:
  CRadioIdentity();
  ~CRadioIdentity();

  // Reads the texts. 0 on success, also when the phone has no cellular line or the line tells nothing about itself;
  // else a TAPI error code, whose record is in the last-error slot, or 255 when there was no memory for a text.
  std::uint32_t Query();

  // Empty until read.
  std::u16string_view SerialNumber() const { return View(m_serialNumber); }
  std::u16string_view Manufacturer() const { return View(m_manufacturer); }
  std::u16string_view Model() const { return View(m_model); }
  std::u16string_view Revision() const { return View(m_revision); }
  std::u16string_view SubscriberNumber() const { return View(m_subscriberNumber); }

 private:
  using Text = std::unique_ptr<char16_t[]>;
  static std::u16string_view View(const Text& text) {
    return text != nullptr ? std::u16string_view(text.get()) : std::u16string_view();
  }

  std::uint32_t QueryLine(ce::HLINEAPP app, ce::DWORD device, ce::DWORD apiVersion);
  std::uint32_t ReadTexts(ce::HLINE line);

  Text m_serialNumber;
  Text m_manufacturer;
  Text m_model;
  Text m_revision;
  Text m_subscriberNumber;
};
