// The element's interface id service and log-configuration library.
#ifndef CFM_TESTS_DAEMON_FAKE_ELEMENT_H
#define CFM_TESTS_DAEMON_FAKE_ELEMENT_H

#include <elem_log_cfg.h>

#include <cstdint>
#include <string>

namespace fake {

void ResetElement();

// Makes an interface known under an id.
void AddInterface(const std::string& name, std::uint32_t limid);

// What ElemLogCfgPopulate was given last; it returns PopulateResult().
struct Populated {
  const ElemLogCfgRecord* record = nullptr;
  ElemLogCfgComponent** components = nullptr;
};
Populated& LastPopulated();
void* PopulateResult();

}  // namespace fake

#endif
