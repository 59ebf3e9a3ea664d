// List keys out of the keypaths of the CFM configuration.
#ifndef CFM_CONFIG_KEYPATH_H
#define CFM_CONFIG_KEYPATH_H

#include <confd_lib.h>

#include <cstdint>
#include <string>

namespace cfm {

// Most elements of a keypath that are looked at, whatever its length.
inline constexpr int kSearchedElements = 25;

// Each finds the key of the innermost entry of its list, writes it and returns
// true; false, and nothing written, when the keypath does not lead through an
// entry of the list. A key of another type than the list's ends the process
// with an assertion. A MEP id is cut to its low 16 bits.
bool GetMdIdFromKp(const confd_hkeypath_t* kp, std::string& md);
bool GetMaIdFromKp(const confd_hkeypath_t* kp, std::string& ma);
bool GetMepIdFromKp(const confd_hkeypath_t* kp, std::uint16_t& mep);

}  // namespace cfm

#endif
