// The leaves of the status records that the agent has for each MEP: what type
// they are and who answers them. A test holds the table equal to
// model/element-cfm.yang, which is the one that counts.
#ifndef TOOLS_CORE_STATUS_MODEL_H
#define TOOLS_CORE_STATUS_MODEL_H

#include <span>
#include <string_view>

namespace cfmctl {

inline constexpr std::string_view kStatusPath = "/status/oam/cfm";
inline constexpr std::string_view kStatusNamespace = "urn:element:yang:cfm";
inline constexpr std::string_view kStatusModule = "element-cfm";

enum class LeafType {
  kText,
  kNumber,
  kLongNumber,  // of 64 bits: a string in JSON (RFC 7951 clause 6.1)
  kEnumeration,
};

enum class LeafOrigin {
  kIdentity,    // written when the record comes into being; never changes
  kWritten,     // written whenever the manager reports
  kComputed,    // by a data provider, when it is read
  kStatistics,  // the same, from the manager's counters
};

struct StatusLeaf {
  std::string_view name;
  LeafType type;
  LeafOrigin origin;
  std::span<const std::string_view> values;  // of an enumeration
  bool is_list = false;                      // a leaf-list
};

// One of the two lists below kStatusPath: "local", "remote".
struct StatusList {
  std::string_view name;
  std::span<const StatusLeaf> leaves;
};

std::span<const StatusList> StatusModel();

// Null when there is no such list or leaf.
const StatusList* FindStatusList(std::string_view list);
const StatusLeaf* FindStatusLeaf(std::string_view list, std::string_view leaf);

}  // namespace cfmctl

#endif
