// Paths and values of operational data as programs send them.
#ifndef TESTS_AGENT_OPERATIONAL_PATHS_H
#define TESTS_AGENT_OPERATIONAL_PATHS_H

#include <confd_lib.h>

#include <string>
#include <utility>
#include <vector>

#include "agent.pb.h"

namespace agentd::test {

namespace pb = cfm::agent;

pb::Value NumberOf(confd_vtype type, std::int64_t number);
pb::Value TextOf(const std::string& text, confd_vtype type = C_BUF);

// /status/oam/cfm, then `names`.
pb::Path StatusPath(const std::vector<std::string>& names);
// The list `local` or `remote`, the entry `key` of it, and perhaps a leaf.
pb::Path EntryPath(const std::string& list, std::int64_t key, const std::string& leaf = {});
pb::Path PositionPath(const std::string& list, std::uint32_t position,
                      const std::string& leaf = {});

// What is written in the entry of a local or remote MEP so that its `when`
// can be judged.
using Leaves = std::vector<std::pair<std::string, pb::Value>>;
Leaves LocalMep(const std::string& md, const std::string& ma, std::int32_t mep);
Leaves RemoteMep(const std::string& md, const std::string& ma, std::int32_t mep);

}  // namespace agentd::test

#endif
