// Records of the status and statistics notifications (cfm/records.h) and the
// protocol's messages, both ways.
#ifndef CFM_STATUS_CODEC_H
#define CFM_STATUS_CODEC_H

#include <compare>
#include <cstdint>
#include <string>

#include "cfm/records.h"

namespace cfm {

namespace manager {
class LocalStatistics;
class LocalStatus;
class MepName;
class RemoteStatistics;
class RemoteStatus;
}  // namespace manager

// Whose record it is: a local MEP's, or a remote MEP's as that local one sees
// it.
struct RecordName {
  std::string md;
  std::string ma;
  std::uint16_t mep = 0;     // 1..8191
  std::uint16_t remote = 0;  // 1..8191; 0: the local MEP's own

  auto operator<=>(const RecordName&) const = default;
};

template <typename Record>
struct Named {
  RecordName name;
  Record record;
};

void EncodeName(const RecordName& name, manager::MepName& message);
void Encode(const Named<st_lmep_status>& status, manager::LocalStatus& message);
void Encode(const Named<st_rmep_status>& status, manager::RemoteStatus& message);
void Encode(const Named<st_lmep_stats>& statistics, manager::LocalStatistics& message);
void Encode(const Named<st_rmep_stats>& statistics, manager::RemoteStatistics& message);

// Each throws ipc::ProtocolError, naming the record, the field and the value,
// for a MEP id out of range, a remote MEP where there must be none or none
// where there must be one, a MAC address that is not six bytes and a number of
// defects other than five. Enumerations come as they are, also with values
// that have no name, because the user has a fallback for these; but for the
// remote MEP's state, which has none, and must be one of the four.
RecordName DecodeName(const manager::MepName& message);
Named<st_lmep_status> Decode(const manager::LocalStatus& message);
Named<st_rmep_status> Decode(const manager::RemoteStatus& message);
Named<st_lmep_stats> Decode(const manager::LocalStatistics& message);
Named<st_rmep_stats> Decode(const manager::RemoteStatistics& message);

}  // namespace cfm

#endif
