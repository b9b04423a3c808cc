#include "desktop/Failure.h"

#include <algorithm>
#include <fmt/format.h>

namespace brelix {
namespace {

constexpr ExitRow kExits[] = {
    {Exit::kOk, "ok", "the command did what it was asked"},
    {Exit::kUnexpected, "unexpected", "a fault in the command itself; please report it"},
    {Exit::kUsage, "usage", "the command line cannot be carried out as given"},
    {Exit::kLocalFile, "local file", "a file on this computer, or standard output, could not be read or written"},
    {Exit::kNoDevice, "no device", "there is no phone at the given device address"},
    {Exit::kDiffers, "differs", "what was compared is not the same"},
    {Exit::kLinkLost, "link lost", "the connection ended or the phone did not answer in time"},
    {Exit::kRefused, "refused", "the phone's agent refused the request or does not serve it"},
    {Exit::kPhoneError, "phone error", "the phone tried and reported an error code"},
    {Exit::kWouldLoseData, "would lose data", "not done, since something would not arrive as given; nothing was sent"},
    {Exit::kPartial, "partial", "done, but for the items named on standard error"},
    {Exit::kProtocol, "protocol", "what answers at that address does not keep to the protocol"},
    {Exit::kInterrupted, "interrupted", "stopped by the user; the session was closed first"},
};

struct CodeRow {
  uint32_t code;
  const char* name;
  const char* text;
};

// Plain Windows numbers, TAPI's LINEERR_ numbers and HRESULTs share one 32-bit space.
constexpr CodeRow kCodes[] = {
    {0x00000001, "S_FALSE", "nothing to do"},
    {0x00000002, "ERROR_FILE_NOT_FOUND", "no such file or key"},
    {0x00000003, "ERROR_PATH_NOT_FOUND", "no such folder"},
    {0x00000005, "ERROR_ACCESS_DENIED", "access denied"},
    {0x00000006, "ERROR_INVALID_HANDLE", "nothing is open"},
    {0x00000008, "ERROR_NOT_ENOUGH_MEMORY", "out of memory"},
    {0x0000000E, "ERROR_OUTOFMEMORY", "out of memory"},
    {0x00000012, "ERROR_NO_MORE_FILES", "no more files"},
    {0x00000015, "ERROR_NOT_READY", "the device is not ready"},
    {0x00000020, "ERROR_SHARING_VIOLATION", "the file is in use"},
    {0x00000057, "ERROR_INVALID_PARAMETER", "invalid parameter"},
    {0x00000070, "ERROR_DISK_FULL", "the disk is full"},
    {0x0000007A, "ERROR_INSUFFICIENT_BUFFER", "the buffer is too small"},
    {0x0000007B, "ERROR_INVALID_NAME", "the name is not valid"},
    {0x000000EA, "ERROR_MORE_DATA", "there is more data than fits"},
    {0x00000103, "ERROR_NO_MORE_ITEMS", "no more items"},
    {0x00000490, "ERROR_NOT_FOUND", "not found"},
    {0x00002714, "WSAEINTR", "the call was interrupted"},
    {0x00002746, "WSAECONNRESET", "the connection was reset"},
    {0x80000001, "LINEERR_ALLOCATED", "the line is in use"},
    {0x80000044, "LINEERR_NOMEM", "out of memory"},
    {0x80000048, "LINEERR_OPERATIONFAILED", "the radio did not answer; it may be switched off"},
    {0x80000049, "LINEERR_OPERATIONUNAVAIL", "the radio does not offer this"},
    {0x8000FFFF, "E_UNEXPECTED", "unexpected failure"},
    {0x80004001, "E_NOTIMPL", "not implemented"},
    {0x80004002, "E_NOINTERFACE", "no such interface"},
    {0x80004003, "E_POINTER", "invalid pointer"},
    {0x80004004, "E_ABORT", "aborted"},
    {0x80004005, "E_FAIL", "unspecified failure"},
    {0x80040102, "MAPI_E_NO_SUPPORT", "not supported"},
    {0x80040107, "MAPI_E_INVALID_ENTRYID", "no such entry"},
    {0x80040109, "MAPI_E_OBJECT_CHANGED", "the object was changed meanwhile"},
    {0x8004010A, "MAPI_E_OBJECT_DELETED", "the object was deleted"},
    {0x8004010F, "MAPI_E_NOT_FOUND", "not found"},
    {0x80040154, "REGDB_E_CLASSNOTREG", "the component is not installed"},
    {0x80070002, "HRESULT of ERROR_FILE_NOT_FOUND", "not found"},
    {0x80070005, "E_ACCESSDENIED", "access denied"},
    {0x80070006, "E_HANDLE", "invalid handle"},
    {0x8007000E, "E_OUTOFMEMORY", "out of memory, or the reply did not fit"},
    {0x80070057, "E_INVALIDARG", "invalid argument"},
    {0x80072746, "HRESULT of WSAECONNRESET", "the connection was reset"},
    {0x82000001, "SMS_E_INVALIDPROTOCOL", "no such message service"},
    {0x82000100, "SMS_E_TOOMUCHDATA", "the message is too long"},
    {0x82000101, "SMS_E_INVALIDDATA", "the message is not valid"},
    {0x82000107, "SMS_E_INVALIDADDRESS", "the number is not valid"},
};

}  // namespace

std::span<const ExitRow> ExitTable() { return kExits; }

std::string PhoneErrorText(uint32_t code) {
  const auto* row =
      std::find_if(std::begin(kCodes), std::end(kCodes), [&](const CodeRow& r) { return r.code == code; });
  if (row == std::end(kCodes)) return fmt::format("0x{:08X}", code);
  return fmt::format("0x{:08X} {} ({})", code, row->name, row->text);
}

}  // namespace brelix
