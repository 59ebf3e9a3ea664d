#include "cleared_statistics.h"

namespace cfm {

void ClearedStatistics::Clear(std::string_view md, std::string_view ma, std::uint16_t mep) {
  for (const RecordName& name : published_) {
    const std::uint16_t id = name.remote == 0 ? name.mep : name.remote;
    if ((md.empty() || md == name.md) && (ma.empty() || ma == name.ma) && (mep == 0 || mep == id)) {
      cleared_.insert(name);
    }
  }
}

}  // namespace cfm
