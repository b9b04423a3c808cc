// pimstore: a contact of the Pocket Outlook object model, every slot in its order.
#pragma once

#include "platform/PocketOutlook.h"

namespace ce {

inline constexpr IID IID_IContact{0x7F804E40, 0x2010, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};

struct CEBLOB;

// Texts that a getter answers are the caller's, to be given to SysFreeString; setters copy theirs. Nothing is stored
// before Save.
struct IContact : IDispatch {
  virtual HRESULT get_Birthday(DATE* date) = 0;
  virtual HRESULT get_Anniversary(DATE* date) = 0;
  virtual HRESULT get_BusinessFaxNumber(BSTR* text) = 0;
  virtual HRESULT get_CompanyName(BSTR* text) = 0;
  virtual HRESULT get_Department(BSTR* text) = 0;
  virtual HRESULT get_Email1Address(BSTR* text) = 0;
  virtual HRESULT get_MobileTelephoneNumber(BSTR* text) = 0;
  virtual HRESULT get_OfficeLocation(BSTR* text) = 0;
  virtual HRESULT get_PagerNumber(BSTR* text) = 0;
  virtual HRESULT get_BusinessTelephoneNumber(BSTR* text) = 0;
  virtual HRESULT get_JobTitle(BSTR* text) = 0;
  virtual HRESULT get_HomeTelephoneNumber(BSTR* text) = 0;
  virtual HRESULT get_Email2Address(BSTR* text) = 0;
  virtual HRESULT get_Spouse(BSTR* text) = 0;
  virtual HRESULT get_Email3Address(BSTR* text) = 0;
  virtual HRESULT get_Home2TelephoneNumber(BSTR* text) = 0;
  virtual HRESULT get_HomeFaxNumber(BSTR* text) = 0;
  virtual HRESULT get_CarTelephoneNumber(BSTR* text) = 0;
  virtual HRESULT get_AssistantName(BSTR* text) = 0;
  virtual HRESULT get_AssistantTelephoneNumber(BSTR* text) = 0;
  virtual HRESULT get_Children(BSTR* text) = 0;
  virtual HRESULT get_Categories(BSTR* text) = 0;
  virtual HRESULT get_WebPage(BSTR* text) = 0;
  virtual HRESULT get_Business2TelephoneNumber(BSTR* text) = 0;
  virtual HRESULT get_Title(BSTR* text) = 0;
  virtual HRESULT get_FirstName(BSTR* text) = 0;
  virtual HRESULT get_MiddleName(BSTR* text) = 0;
  virtual HRESULT get_LastName(BSTR* text) = 0;
  virtual HRESULT get_Suffix(BSTR* text) = 0;
  virtual HRESULT get_HomeAddressStreet(BSTR* text) = 0;
  virtual HRESULT get_HomeAddressCity(BSTR* text) = 0;
  virtual HRESULT get_HomeAddressState(BSTR* text) = 0;
  virtual HRESULT get_HomeAddressPostalCode(BSTR* text) = 0;
  virtual HRESULT get_HomeAddressCountry(BSTR* text) = 0;
  virtual HRESULT get_OtherAddressStreet(BSTR* text) = 0;
  virtual HRESULT get_OtherAddressCity(BSTR* text) = 0;
  virtual HRESULT get_OtherAddressState(BSTR* text) = 0;
  virtual HRESULT get_OtherAddressPostalCode(BSTR* text) = 0;
  virtual HRESULT get_OtherAddressCountry(BSTR* text) = 0;
  virtual HRESULT get_BusinessAddressStreet(BSTR* text) = 0;
  virtual HRESULT get_BusinessAddressCity(BSTR* text) = 0;
  virtual HRESULT get_BusinessAddressState(BSTR* text) = 0;
  virtual HRESULT get_BusinessAddressPostalCode(BSTR* text) = 0;
  virtual HRESULT get_BusinessAddressCountry(BSTR* text) = 0;
  virtual HRESULT get_RadioTelephoneNumber(BSTR* text) = 0;
  virtual HRESULT get_FileAs(BSTR* text) = 0;
  virtual HRESULT get_Body(BSTR* text) = 0;
  virtual HRESULT get_YomiCompanyName(BSTR* text) = 0;
  virtual HRESULT get_YomiFirstName(BSTR* text) = 0;
  virtual HRESULT get_YomiLastName(BSTR* text) = 0;
  // The setters, in the order of the getters.
  virtual HRESULT put_Birthday(DATE date) = 0;
  virtual HRESULT put_Anniversary(DATE date) = 0;
  virtual HRESULT put_BusinessFaxNumber(BSTR text) = 0;
  virtual HRESULT put_CompanyName(BSTR text) = 0;
  virtual HRESULT put_Department(BSTR text) = 0;
  virtual HRESULT put_Email1Address(BSTR text) = 0;
  virtual HRESULT put_MobileTelephoneNumber(BSTR text) = 0;
  virtual HRESULT put_OfficeLocation(BSTR text) = 0;
  virtual HRESULT put_PagerNumber(BSTR text) = 0;
  virtual HRESULT put_BusinessTelephoneNumber(BSTR text) = 0;
  virtual HRESULT put_JobTitle(BSTR text) = 0;
  virtual HRESULT put_HomeTelephoneNumber(BSTR text) = 0;
  virtual HRESULT put_Email2Address(BSTR text) = 0;
  virtual HRESULT put_Spouse(BSTR text) = 0;
  virtual HRESULT put_Email3Address(BSTR text) = 0;
  virtual HRESULT put_Home2TelephoneNumber(BSTR text) = 0;
  virtual HRESULT put_HomeFaxNumber(BSTR text) = 0;
  virtual HRESULT put_CarTelephoneNumber(BSTR text) = 0;
  virtual HRESULT put_AssistantName(BSTR text) = 0;
  virtual HRESULT put_AssistantTelephoneNumber(BSTR text) = 0;
  virtual HRESULT put_Children(BSTR text) = 0;
  virtual HRESULT put_Categories(BSTR text) = 0;
  virtual HRESULT put_WebPage(BSTR text) = 0;
  virtual HRESULT put_Business2TelephoneNumber(BSTR text) = 0;
  virtual HRESULT put_Title(BSTR text) = 0;
  virtual HRESULT put_FirstName(BSTR text) = 0;
  virtual HRESULT put_MiddleName(BSTR text) = 0;
  virtual HRESULT put_LastName(BSTR text) = 0;
  virtual HRESULT put_Suffix(BSTR text) = 0;
  virtual HRESULT put_HomeAddressStreet(BSTR text) = 0;
  virtual HRESULT put_HomeAddressCity(BSTR text) = 0;
  virtual HRESULT put_HomeAddressState(BSTR text) = 0;
  virtual HRESULT put_HomeAddressPostalCode(BSTR text) = 0;
  virtual HRESULT put_HomeAddressCountry(BSTR text) = 0;
  virtual HRESULT put_OtherAddressStreet(BSTR text) = 0;
  virtual HRESULT put_OtherAddressCity(BSTR text) = 0;
  virtual HRESULT put_OtherAddressState(BSTR text) = 0;
  virtual HRESULT put_OtherAddressPostalCode(BSTR text) = 0;
  virtual HRESULT put_OtherAddressCountry(BSTR text) = 0;
  virtual HRESULT put_BusinessAddressStreet(BSTR text) = 0;
  virtual HRESULT put_BusinessAddressCity(BSTR text) = 0;
  virtual HRESULT put_BusinessAddressState(BSTR text) = 0;
  virtual HRESULT put_BusinessAddressPostalCode(BSTR text) = 0;
  virtual HRESULT put_BusinessAddressCountry(BSTR text) = 0;
  virtual HRESULT put_RadioTelephoneNumber(BSTR text) = 0;
  virtual HRESULT put_FileAs(BSTR text) = 0;
  virtual HRESULT put_Body(BSTR text) = 0;
  virtual HRESULT put_YomiCompanyName(BSTR text) = 0;
  virtual HRESULT put_YomiFirstName(BSTR text) = 0;
  virtual HRESULT put_YomiLastName(BSTR text) = 0;

  virtual HRESULT Save() = 0;
  virtual HRESULT Delete() = 0;
  virtual HRESULT Copy(IContact** copy) = 0;
  virtual HRESULT Display() = 0;
  virtual HRESULT get_Oid(LONG* value) = 0;
  virtual HRESULT put_BodyInk(CEBLOB* ink) = 0;
  virtual HRESULT get_BodyInk(CEBLOB* ink) = 0;
  virtual HRESULT get_Application(IPOutlookApp** app) = 0;
};

}  // namespace ce
