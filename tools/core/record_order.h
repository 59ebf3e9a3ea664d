// The order of paths of status records: record 9 before record 10.
#ifndef TOOLS_CORE_RECORD_ORDER_H
#define TOOLS_CORE_RECORD_ORDER_H

#include <string>
#include <string_view>
#include <tuple>

namespace cfmctl {

struct ByRecordNumber {
  bool operator()(const std::string& left, const std::string& right) const {
    return std::tuple(left.size(), std::string_view(left)) <
           std::tuple(right.size(), std::string_view(right));
  }
};

}  // namespace cfmctl

#endif
