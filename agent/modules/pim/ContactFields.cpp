#include "agent/modules/pim/ContactFields.h"

#include <algorithm>

namespace contact {

namespace {

using Getter = ce::HRESULT (ce::IContact::*)(ce::BSTR*);
using Setter = ce::HRESULT (ce::IContact::*)(ce::BSTR);

constexpr TextField Property(std::uint8_t place, std::string_view element, Getter get, Setter put) {
  return {place, element, get, put, 0};
}

constexpr TextField ById(std::uint8_t place, std::string_view element, ce::CEPROPID id) {
  return {place, element, nullptr, nullptr, id};
}

constexpr std::array<TextField, kTextCount> kTable = {{
    Property(4, "FirstName", &ce::IContact::get_FirstName, &ce::IContact::put_FirstName),
    Property(5, "MiddleName", &ce::IContact::get_MiddleName, &ce::IContact::put_MiddleName),
    Property(6, "LastName", &ce::IContact::get_LastName, &ce::IContact::put_LastName),
    Property(9, "HomeTelephoneNumber", &ce::IContact::get_HomeTelephoneNumber, &ce::IContact::put_HomeTelephoneNumber),
    Property(10, "Home2TelephoneNumber", &ce::IContact::get_Home2TelephoneNumber,
             &ce::IContact::put_Home2TelephoneNumber),
    Property(11, "MobileTelephoneNumber", &ce::IContact::get_MobileTelephoneNumber,
             &ce::IContact::put_MobileTelephoneNumber),
    Property(12, "CarTelephoneNumber", &ce::IContact::get_CarTelephoneNumber, &ce::IContact::put_CarTelephoneNumber),
    Property(13, "RadioTelephoneNumber", &ce::IContact::get_RadioTelephoneNumber,
             &ce::IContact::put_RadioTelephoneNumber),
    Property(14, "BusinessTelephoneNumber", &ce::IContact::get_BusinessTelephoneNumber,
             &ce::IContact::put_BusinessTelephoneNumber),
    Property(15, "Business2TelephoneNumber", &ce::IContact::get_Business2TelephoneNumber,
             &ce::IContact::put_Business2TelephoneNumber),
    Property(16, "HomeFaxNumber", &ce::IContact::get_HomeFaxNumber, &ce::IContact::put_HomeFaxNumber),
    Property(17, "BusinessFaxNumber", &ce::IContact::get_BusinessFaxNumber, &ce::IContact::put_BusinessFaxNumber),
    Property(18, "PagerNumber", &ce::IContact::get_PagerNumber, &ce::IContact::put_PagerNumber),
    Property(19, "Email1Address", &ce::IContact::get_Email1Address, &ce::IContact::put_Email1Address),
    Property(20, "Email2Address", &ce::IContact::get_Email2Address, &ce::IContact::put_Email2Address),
    Property(21, "Email3Address", &ce::IContact::get_Email3Address, &ce::IContact::put_Email3Address),
    Property(26, "AssistantName", &ce::IContact::get_AssistantName, &ce::IContact::put_AssistantName),
    Property(27, "AssistantTelephoneNumber", &ce::IContact::get_AssistantTelephoneNumber,
             &ce::IContact::put_AssistantTelephoneNumber),
    Property(30, "CompanyName", &ce::IContact::get_CompanyName, &ce::IContact::put_CompanyName),
    Property(31, "Department", &ce::IContact::get_Department, &ce::IContact::put_Department),
    Property(32, "OfficeLocation", &ce::IContact::get_OfficeLocation, &ce::IContact::put_OfficeLocation),
    Property(33, "JobTitle", &ce::IContact::get_JobTitle, &ce::IContact::put_JobTitle),
    Property(34, "Spouse", &ce::IContact::get_Spouse, &ce::IContact::put_Spouse),
    Property(35, "Children", &ce::IContact::get_Children, &ce::IContact::put_Children),
    Property(36, "Categories", &ce::IContact::get_Categories, &ce::IContact::put_Categories),
    Property(37, "WebPage", &ce::IContact::get_WebPage, &ce::IContact::put_WebPage),
    Property(38, "Title", &ce::IContact::get_Title, &ce::IContact::put_Title),
    Property(39, "Suffix", &ce::IContact::get_Suffix, &ce::IContact::put_Suffix),
    Property(40, "HomeAddressStreet", &ce::IContact::get_HomeAddressStreet, &ce::IContact::put_HomeAddressStreet),
    Property(41, "HomeAddressCity", &ce::IContact::get_HomeAddressCity, &ce::IContact::put_HomeAddressCity),
    Property(42, "HomeAddressState", &ce::IContact::get_HomeAddressState, &ce::IContact::put_HomeAddressState),
    Property(43, "HomeAddressPostalCode", &ce::IContact::get_HomeAddressPostalCode,
             &ce::IContact::put_HomeAddressPostalCode),
    Property(44, "HomeAddressCountry", &ce::IContact::get_HomeAddressCountry, &ce::IContact::put_HomeAddressCountry),
    Property(45, "OtherAddressStreet", &ce::IContact::get_OtherAddressStreet, &ce::IContact::put_OtherAddressStreet),
    Property(46, "OtherAddressCity", &ce::IContact::get_OtherAddressCity, &ce::IContact::put_OtherAddressCity),
    Property(47, "OtherAddressState", &ce::IContact::get_OtherAddressState, &ce::IContact::put_OtherAddressState),
    Property(48, "OtherAddressPostalCode", &ce::IContact::get_OtherAddressPostalCode,
             &ce::IContact::put_OtherAddressPostalCode),
    Property(49, "OtherAddressCountry", &ce::IContact::get_OtherAddressCountry, &ce::IContact::put_OtherAddressCountry),
    Property(50, "BusinessAddressStreet", &ce::IContact::get_BusinessAddressStreet,
             &ce::IContact::put_BusinessAddressStreet),
    Property(51, "BusinessAddressCity", &ce::IContact::get_BusinessAddressCity, &ce::IContact::put_BusinessAddressCity),
    Property(52, "BusinessAddressState", &ce::IContact::get_BusinessAddressState,
             &ce::IContact::put_BusinessAddressState),
    Property(53, "BusinessAddressPostalCode", &ce::IContact::get_BusinessAddressPostalCode,
             &ce::IContact::put_BusinessAddressPostalCode),
    Property(54, "BusinessAddressCountry", &ce::IContact::get_BusinessAddressCountry,
             &ce::IContact::put_BusinessAddressCountry),
    Property(55, "FileAs", &ce::IContact::get_FileAs, &ce::IContact::put_FileAs),
    Property(56, "Body", &ce::IContact::get_Body, &ce::IContact::put_Body),
    ById(25, "ManagerName", ce::PIMPR_MANAGER),
    ById(7, "NickName", ce::PIMPR_NICKNAME),
    ById(8, "AccountName", ce::PIMPR_ACCOUNT_NAME),
    ById(22, "IM1Address", ce::PIMPR_IM1_ADDRESS),
    ById(23, "IM2Address", ce::PIMPR_IM2_ADDRESS),
    ById(24, "IM3Address", ce::PIMPR_IM3_ADDRESS),
    ById(28, "CustomerID", ce::PIMPR_CUSTOMERID),
    ById(29, "GovernmentIDNumber", ce::PIMPR_GOVERNMENTID),
}};

static_assert(kTable[kFileAs].element == "FileAs" && kTable[kBody].element == "Body");

consteval std::array<std::uint8_t, kTextCount> OrderByPlace() {
  std::array<std::uint8_t, kTextCount> order{};
  for (std::size_t i = 0; i < order.size(); ++i) {
    order[i] = static_cast<std::uint8_t>(i);
  }
  std::sort(order.begin(), order.end(),
            [](std::uint8_t left, std::uint8_t right) { return kTable[left].place < kTable[right].place; });
  return order;
}

}  // namespace

constinit const std::array<TextField, kTextCount> kTexts = kTable;
constinit const std::array<std::uint8_t, kTextCount> kWriteOrder = OrderByPlace();

}  // namespace contact
