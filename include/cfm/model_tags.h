// Tag hashes by which the daemon recognises the nodes of the data model in
// keypaths and action parameters. The model (model/element-cfm.yang) states
// them; a test holds both equal.
#ifndef CFM_MODEL_TAGS_H
#define CFM_MODEL_TAGS_H

#include <cstdint>

namespace cfm::tag {

using Tag = std::uint32_t;

// The model's namespace.
inline constexpr Tag kNamespace = 0x76d9c9b9;

// Configuration, /config/oam/cfm. kMd, kMa and kMep are also the parameters of
// the clear-statistics action; several leaves stand in the status lists again.
inline constexpr Tag kMd = 0x5baff9dc;
inline constexpr Tag kLevel = 0x7dec02bd;
inline constexpr Tag kMa = 0x1b9a6cbc;
inline constexpr Tag kCcmInterval = 0x6cd8df13;
inline constexpr Tag kPrimaryVlanId = 0x733de42a;
inline constexpr Tag kVlanList = 0x41131793;
inline constexpr Tag kRemoteMeps = 0x4c09a2b5;
inline constexpr Tag kMep = 0x2b20e37e;
inline constexpr Tag kInterface = 0x0d34ee32;
inline constexpr Tag kDirection = 0x5780daa2;
inline constexpr Tag kContinuityCheck = 0x61bff787;
inline constexpr Tag kCciEnabled = 0x313c47c3;
inline constexpr Tag kLowestFaultPriorityDefect = 0x4da61b81;
inline constexpr Tag kFaultAlarmTime = 0x4aa160ac;
inline constexpr Tag kFaultResetTime = 0x3ec4986c;
inline constexpr Tag kFaultAction = 0x54300d15;

// Status, /status/oam/cfm.
inline constexpr Tag kLocal = 0x7ef235bf;
inline constexpr Tag kLastStateChange = 0x6ff6d896;
// The list of remote MEPs in a local record: not the configuration's name.
inline constexpr Tag kStatusRemoteMeps = 0x4d43f547;

// Statistics.
inline constexpr Tag kMepCcmsSent = 0x241a391a;
inline constexpr Tag kMepCcmsReceived = 0x42cae9f0;
inline constexpr Tag kMepCcmSequenceErrors = 0x0a5f8784;
inline constexpr Tag kRmepCcmsReceived = 0x1ac436e1;

}  // namespace cfm::tag

#endif
