#include "sender_id.h"

#include <cstdio>
#include <string_view>

namespace cfm::engine {
namespace {

// Chassis id subtypes of IEEE 802.1AB.
constexpr std::uint8_t kMacAddress = 4;
constexpr std::uint8_t kNetworkAddress = 5;
constexpr std::uint8_t kLocallyAssigned = 7;
// Address family of a network address, as IANA numbers them.
constexpr std::uint8_t kIpv4 = 1;

std::string Join(ByteView octets, const char* format, std::string_view separator) {
  std::string text;
  for (const std::uint8_t octet : octets) {
    char buffer[8];
    std::snprintf(buffer, sizeof buffer, format, unsigned{octet});
    text.append(text.empty() ? "" : separator).append(buffer);
  }
  return text;
}

std::string Printable(ByteView octets) {
  std::string text;
  for (const std::uint8_t octet : octets) {
    if (octet >= 0x20 && octet < 0x7f && octet != '\\') {
      text.push_back(static_cast<char>(octet));
    } else {
      text += Join({&octet, 1}, "\\x%02x", "");
    }
  }
  return text;
}

std::string ChassisText(std::uint8_t subtype, ByteView id) {
  if (subtype == kMacAddress && id.size() == 6) {
    return Join(id, "%02x", ":");
  }
  if (subtype == kNetworkAddress && id.size() == 5 && id[0] == kIpv4) {
    return Join(id.subspan(1), "%u", ".");
  }
  return Printable(id);
}

// What follows the chassis id may be cut off after any of its parts.
bool TakeManagementAddress(ByteReader& reader) {
  if (reader.Left() > 0) {
    const std::size_t domain_length = reader.U8();
    reader.Take(domain_length);
    if (domain_length > 0 && reader.Left() > 0) {
      reader.Take(reader.U8());
    }
  }
  return !reader.Failed();
}

}  // namespace

Bytes EncodeSenderId(const std::string& text) {
  Bytes value;
  value.reserve(text.size() + 3);
  AppendU8(value, static_cast<unsigned>(text.size()));
  AppendU8(value, kLocallyAssigned);
  AppendBytes(value, text);
  AppendU8(value, 0);  // no management address domain
  return value;
}

bool DecodeSenderId(ByteView value, std::string& text) {
  ByteReader reader(value);
  const std::size_t length = reader.U8();
  if (length > 0) {
    const std::uint8_t subtype = reader.U8();
    text = ChassisText(subtype, reader.Take(length));
  }
  return !reader.Failed() && TakeManagementAddress(reader);
}

}  // namespace cfm::engine
