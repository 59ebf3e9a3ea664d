// Records and enumerations of the CFM manager's notifications.
//
// Fields stand in the order and with the widths that the CFM manager client
// uses. A record is valid for the duration of the call that carries it.
#ifndef CFM_RECORDS_H
#define CFM_RECORDS_H

#include <cstdint>
#include <string>

namespace cfm {

// MAC address in transmission order.
struct st_mac {
  std::uint8_t octets[6];
};

// Interface Status TLV (IEEE 802.1Q clause 21.5.5), with 0 for its absence.
enum class InterfaceStatus : std::int32_t {
  kNoTlv = 0,
  kIsUp = 1,
  kIsDown = 2,
  kIsTesting = 3,
  kIsUnknown = 4,
  kIsDormant = 5,
  kIsNotPresent = 6,
  kIsLowerLayerDown = 7,
};

// Port Status TLV (IEEE 802.1Q clause 21.5.4), with 0 for its absence.
enum class PortStatus : std::int32_t {
  kNoTlv = 0,
  kBlocked = 1,
  kUp = 2,
};

// Forwarding state of a MEP's port.
enum class BlockState : std::int32_t {
  kNotApplicable = 0,
  kForwarding = 1,
  kBlocked = 2,
};

// Remote MEP state machine (IEEE 802.1Q clause 20.22).
enum en_rmep_state : std::int32_t {
  RMEP_IDLE = 0,
  RMEP_START = 1,
  RMEP_FAILED = 2,
  RMEP_OK = 3,
};

// Number of CFM defect flags of a local MEP.
inline constexpr int kDefectCount = 5;

// Status of one local MEP.
struct st_lmep_status {
  st_mac mac;
  bool tx_rdi;  // the MEP sends the RDI bit
  InterfaceStatus tx_interface_status;
  PortStatus tx_port_status;
  BlockState block_state;
  std::uint32_t reserved;  // part of the record; the daemon does not read it
  // In ascending priority: RDI, MAC status, remote CCM, error CCM,
  // cross-connect CCM (IEEE 802.1Q clause 20.1).
  bool defects[kDefectCount];
};

// Status of one remote MEP as one local MEP sees it.
struct st_rmep_status {
  en_rmep_state state;
  std::uint64_t last_state_change;  // seconds of system uptime
  st_mac mac;                       // source address of its CCMs
  bool rx_rdi;                      // RDI bit of its last CCM
  PortStatus rx_port_status;
  InterfaceStatus rx_interface_status;
  std::string sender_id;  // Sender ID TLV as text
};

// Statistics of one local MEP.
struct st_lmep_stats {
  std::uint64_t counter1;  // CCMs sent
  std::uint64_t counter2;  // CCMs received
  std::uint32_t counter3;  // CCM sequence errors
  std::uint32_t counter4;  // CCMs discarded as invalid
};

// Statistics of one remote MEP.
struct st_rmep_stats {
  std::uint32_t rmep_counter;  // CCMs received from it
};

}  // namespace cfm

#endif
