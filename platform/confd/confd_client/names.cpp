#include "confd_client/names.h"

#include <confd_lib.h>

namespace confd {

void Names::Learn(std::uint32_t tag, const std::string& name) {
  const auto [entry, is_new] = names_.try_emplace(tag, name);
  if (is_new) {
    tags_.try_emplace(entry->second, tag);
  }
}

const std::string* Names::NameOf(std::uint32_t tag) const {
  const auto entry = names_.find(tag);
  return entry == names_.end() ? nullptr : &entry->second;
}

std::uint32_t Names::TagOf(std::string_view name) const {
  const auto entry = tags_.find(name);
  return entry == tags_.end() ? 0 : entry->second;
}

Names& SchemaNames() {
  static Names names;
  return names;
}

}  // namespace confd

extern "C" {

char* confd_hash2str(uint32_t hash) {
  const std::string* name = confd::SchemaNames().NameOf(hash);
  // The public interface hands the name out without const.
  return name == nullptr ? nullptr : const_cast<char*>(name->c_str());
}

uint32_t confd_str2hash(const char* str) {
  return str == nullptr ? 0 : confd::SchemaNames().TagOf(str);
}

}  // extern "C"
