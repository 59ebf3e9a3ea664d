// Building blocks of the agent's messages, for tests.
#ifndef TESTS_CONFD_DATA_TREE_H
#define TESTS_CONFD_DATA_TREE_H

#include <agent.pb.h>
#include <confd_cdb.h>

#include <cstdint>
#include <string>
#include <vector>

namespace test {

cfm::agent::Value Text(const std::string& text);
cfm::agent::Value Number(std::uint32_t type, std::int64_t number);
cfm::agent::Value Int32(std::int32_t number);
cfm::agent::Value List(const std::vector<cfm::agent::Value>& elements);

using Nodes = std::vector<cfm::agent::DataNode>;

cfm::agent::DataNode Leaf(const std::string& name, const cfm::agent::Value& value);
cfm::agent::DataNode Container(const std::string& name, const Nodes& children);
// Entries of the same list get their positions from the container or entry
// that they are put into.
cfm::agent::DataNode Entry(const std::string& name, const std::vector<cfm::agent::Value>& keys,
                           const Nodes& children);

using Changes = std::vector<cfm::agent::Change>;

cfm::agent::Change Changed(std::uint32_t tag, std::uint32_t op, const Changes& children = {});
cfm::agent::Change ChangedEntry(std::uint32_t tag, const std::vector<cfm::agent::Value>& keys,
                                std::uint32_t op, const Changes& children = {});
cfm::agent::Change ChangedElement(std::uint32_t tag, const cfm::agent::Value& element,
                                  std::uint32_t op);
cfm::agent::Change ChangedLeaf(std::uint32_t tag, std::uint32_t op,
                               const cfm::agent::Value* old_value,
                               const cfm::agent::Value* new_value);

}  // namespace test

#endif
