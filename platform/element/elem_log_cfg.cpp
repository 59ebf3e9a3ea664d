#include "elem_log_cfg.h"

#include <array>
#include <limits>

#include "elem_log_cfg_handle.h"

namespace {

// The element's own log classes begin here; a program counts its components
// from 1.
constexpr int kFirstElementClass = 1000;

// Class ids are as the programs count them until they are translated in place.
std::array<ElemLogCfgComponent, 9> components{{
    {"agentd", "Management Agent", 1, 0},
    {"cfm-managerd", "CFM Manager", 2, 0},
    {"cfm-app", "CFM Application", 3, 0},
    {"libconfd", "Agent Client Library", 4, 0},
    {"libvelconfd", "Agent Handler Framework", 5, 0},
    {"libvelmidware", "Middleware", 6, 0},
    {"libcfm_mgr_client", "CFM Manager Client", 7, 0},
    {"libelem", "Element Services", 8, 0},
    {nullptr, nullptr, 0, 0},
}};

bool IsUsable(const ElemLogCfgRecord& record) {
  return record.handles != nullptr && record.fields != nullptr && record.null_word == nullptr;
}

}  // namespace

ElemLogCfgComponent* ElemLogCfgComponents = components.data();

// The translation is relative, so a class id that is translated twice moves
// twice; it stops at the largest number.
int ElemLogCfgGetActualClass(int class_id) {
  constexpr int kLast = std::numeric_limits<int>::max() - kFirstElementClass;
  return class_id > kLast ? std::numeric_limits<int>::max() : class_id + kFirstElementClass;
}

void* ElemLogCfgPopulate(const ElemLogCfgRecord* record, ElemLogCfgComponent** table) {
  static ElemLogCfgHandle program;
  if (record == nullptr || table == nullptr || !IsUsable(*record)) {
    return nullptr;
  }
  program = {*record, table};
  return &program;
}
