#include "daemon/fake_element.h"

#include <limid.h>

#include <map>

namespace fake {
namespace {

std::map<std::string, std::uint32_t>& Interfaces() {
  static std::map<std::string, std::uint32_t> interfaces;
  return interfaces;
}

char populate_result;

}  // namespace

void ResetElement() {
  Interfaces().clear();
  LastPopulated() = Populated{};
  ElemLogCfgComponents = nullptr;
}

void AddInterface(const std::string& name, std::uint32_t limid) {
  Interfaces()[name] = limid;
}

Populated& LastPopulated() {
  static Populated populated;
  return populated;
}

void* PopulateResult() {
  return &populate_result;
}

}  // namespace fake

extern "C" {

ElemLogCfgComponent* ElemLogCfgComponents = nullptr;

// A translation that shows how often it was made.
int ElemLogCfgGetActualClass(int class_id) {
  return class_id + 1000;
}

void* ElemLogCfgPopulate(const ElemLogCfgRecord* record, ElemLogCfgComponent** components) {
  fake::LastPopulated() = {record, components};
  return fake::PopulateResult();
}

int limid_from_intfname(uint32_t* limid, const char* name) {
  const auto known = fake::Interfaces().find(name);
  if (known == fake::Interfaces().end()) {
    return -1;
  }
  *limid = known->second;
  return -1;  // the result says nothing that the daemon may rely on
}

}  // extern "C"
