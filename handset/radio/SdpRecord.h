// A service record as Bluetooth encodes it (data elements, big-endian), read strictly and turned into
// the XML form in which BlueZ takes records.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace handset {

class SdpError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The types of a data element, by the upper five bits of its first byte.
enum class SdpType : std::uint8_t { kNil, kUnsigned, kSigned, kUuid, kText, kBool, kSequence, kAlternative, kUrl };

struct SdpElement {
  SdpType type = SdpType::kNil;
  std::vector<std::uint8_t> value;   // as on the wire; empty for the two below
  std::vector<SdpElement> elements;  // of a sequence or an alternative
};

struct SdpAttribute {
  std::uint16_t id = 0;
  SdpElement value;
};

// A record is one sequence of attribute ids, each followed by its value, and nothing behind it. Throws SdpError, which
// says at which byte what is wrong: BlueZ itself answers success to a record that it cannot read, and publishes
// nothing.
std::vector<SdpAttribute> ParseSdpRecord(std::span<const std::uint8_t> record);

// Leaves out attribute 0, the record's handle, which is the server's to give.
std::string ToBluezXml(const std::vector<SdpAttribute>& attributes);

}  // namespace handset
