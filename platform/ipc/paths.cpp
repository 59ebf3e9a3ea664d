#include "paths.h"

#include <cstdlib>

namespace ipc {
namespace {

std::filesystem::path FromEnvironment(const char* variable, const char* otherwise) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value != '\0' ? value : otherwise;
}

}  // namespace

std::filesystem::path RuntimeDirectory() {
  return FromEnvironment("CFM_RUNTIME_DIR", "/run/cfm");
}

std::filesystem::path StateDirectory() {
  return FromEnvironment("CFM_STATE_DIR", "/var/lib/cfm");
}

std::filesystem::path InterfaceTablePath() {
  return FromEnvironment("CFM_INTERFACES", "/etc/cfm/interfaces");
}

}  // namespace ipc
