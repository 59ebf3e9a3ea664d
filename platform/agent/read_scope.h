// Which entries and leaves of operational data a read is for.
#ifndef AGENT_READ_SCOPE_H
#define AGENT_READ_SCOPE_H

#include <set>
#include <string>
#include <vector>

#include "operational_store.h"

namespace agentd {

class ReadScope {
 public:
  // Everything.
  ReadScope() = default;
  // What the request names. Problems are names that the model does not have
  // there, and filters on what is computed.
  static Result<ReadScope> Of(const Model& model, const ProviderModel& providers,
                              const cfm::agent::Get& request);

  // Whether the leaf, or leaf-list, is wanted; keys are.
  bool Wants(const lysc_node& leaf) const;
  // Whether what is written in the entry passes the filters.
  bool Admits(const OperationalEntry& entry) const;

 private:
  std::set<std::string, std::less<>> leaves_;  // empty: all
  std::vector<cfm::agent::EntryFilter> filters_;
};

}  // namespace agentd

#endif
