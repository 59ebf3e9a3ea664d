// MAC addresses for ports that have none of their own.
#ifndef CFM_MANAGER_WIRE_MAC_H
#define CFM_MANAGER_WIRE_MAC_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "cfm/records.h"

namespace cfm {

// A locally administered address that stays the same for this port of this
// element: elements differ in their runtime directories, ports in their names.
inline st_mac WireMac(const std::filesystem::path& runtime_directory, std::string_view name) {
  const std::string text =
      std::filesystem::absolute(runtime_directory).lexically_normal().native() + '\n' +
      std::string(name);
  std::uint64_t hash = 0xcbf29ce484222325U;  // FNV-1a
  for (const char character : text) {
    hash = (hash ^ static_cast<std::uint8_t>(character)) * 0x100000001b3U;
  }
  st_mac mac{{0x02}};
  for (int i = 1; i < 6; ++i) {
    mac.octets[i] = static_cast<std::uint8_t>(hash >> (8 * i));
  }
  return mac;
}

}  // namespace cfm

#endif
