// Identity of a MEP in the daemon, and the filter that selects MEPs.
#ifndef CFM_MEP_INFO_H
#define CFM_MEP_INFO_H

#include <string>
#include <tuple>

namespace cfm {

// For remote MEP records and remote statistics the id is the remote MEP's.
// Used as a filter, an empty name and MEP 0 stand for "any".
struct MepInfo {
  std::string md;  // maintenance domain name
  std::string ma;  // maintenance association name
  int mep;         // MEP id, a 16-bit value, 1..8191 on the wire; 0 for "any"
};

// Domain first, then association (both byte by byte), then the signed id.
inline bool operator<(const MepInfo& left, const MepInfo& right) {
  return std::tie(left.md, left.ma, left.mep) < std::tie(right.md, right.ma, right.mep);
}

}  // namespace cfm

#endif
