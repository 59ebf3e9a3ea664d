#include "confd/data_agent.h"

#include <confd_cdb.h>

#include <algorithm>
#include <map>

#include "confd/fake_agent.h"

namespace test {
namespace {

using cfm::agent::DataNode;
using cfm::agent::PathStep;

std::string KeyText(const cfm::agent::Value& value) {
  return value.type() == C_BUF ? value.text() : std::to_string(value.number());
}

bool SameKeys(const DataNode& node, const PathStep& step) {
  return std::equal(node.keys().begin(), node.keys().end(), step.keys().begin(), step.keys().end(),
                    [](const auto& a, const auto& b) { return KeyText(a) == KeyText(b); });
}

const DataNode* FindChild(const DataNode& parent, const PathStep& step) {
  for (const DataNode& child : parent.children()) {
    const bool is_picked = step.has_position()
                               ? child.keys_size() > 0 && child.position() == step.position()
                               : SameKeys(child, step);
    if (child.name() == step.name() && is_picked) {
      return &child;
    }
  }
  return nullptr;
}

// The node with everything but its list entries; its containers are there but
// not looked into.
DataNode OwnNodes(const DataNode& node) {
  DataNode own = node;
  own.clear_children();
  own.set_coverage(DataNode::OWN_NODES);
  std::map<std::string, std::uint32_t> sizes;
  for (const DataNode& child : node.children()) {
    if (child.keys_size() > 0) {
      ++sizes[child.name()];
    } else {
      DataNode& added = *own.add_children();
      added = child;
      added.clear_children();
    }
  }
  for (const auto& [name, entries] : sizes) {
    own.add_list_sizes()->set_name(name);
    own.mutable_list_sizes()->rbegin()->set_entries(entries);
  }
  return own;
}

DataNode* AddOnTheWay(DataNode& parent, DataNode child) {
  if (child.keys_size() > 0) {
    parent.set_coverage(DataNode::SOME_ENTRIES);
    return &(*parent.add_children() = std::move(child));
  }
  auto& there = *std::ranges::find(*parent.mutable_children(), child.name(), &DataNode::name);
  there = std::move(child);
  return &there;
}

// What a Fetch of `path` brings of `tree`, which is the path's first step.
DataNode DataFor(const DataNode& tree, const cfm::agent::Path& path) {
  DataNode answer = OwnNodes(tree);
  DataNode* copied = &answer;
  const DataNode* original = &tree;
  for (int i = 1; i < path.steps_size(); ++i) {
    original = FindChild(*original, path.steps(i));
    if (original == nullptr) {
      break;
    }
    if (path.steps(i).has_position()) {
      AddOnTheWay(*copied, *original)->set_coverage(DataNode::EVERYTHING);
      break;
    }
    copied = AddOnTheWay(*copied, original->has_value() ? *original : OwnNodes(*original));
  }
  return answer;
}

cfm::agent::Reply AnswerFetch(const DataNode& tree, const cfm::agent::Path& path) {
  cfm::agent::Reply reply;
  const auto is_wrong = [](const PathStep& step) { return step.name() == "wrong"; };
  if (std::ranges::any_of(path.steps(), is_wrong)) {
    reply.add_errors()->set_code(CONFD_ERR_BADPATH);
    reply.mutable_errors(0)->set_message("the model has no node 'wrong'");
  } else if (path.steps(0).name() == tree.name()) {
    *reply.mutable_data() = DataFor(tree, path);
  }
  return reply;
}

}  // namespace

const std::vector<std::pair<std::uint32_t, std::string>>& ModelNames() {
  static const std::vector<std::pair<std::uint32_t, std::string>> names = {
      {0x1001, "config"},
      {0x1002, "oam"},
      {0x1003, "cfm"},
      {0x5baff9dc, "md"},
      {0x7dec02bd, "level"},
      {0x1b9a6cbc, "ma"},
      {0x6cd8df13, "ccm-interval"},
      {0x733de42a, "primary-vlan-id"},
      {0x41131793, "vlan-list"},
      {0x4c09a2b5, "remote-meps"},
      {0x2b20e37e, "mep"},
      {0x0d34ee32, "interface"},
      {0x5780daa2, "direction"},
      {0x61bff787, "continuity-check"},
      {0x313c47c3, "cci-enabled"},
      {0x4da61b81, "lowest-fault-priority-defect"},
      {0x4aa160ac, "fault-alarm-time"},
      {0x3ec4986c, "fault-reset-time"},
      {0x54300d15, "fault-action"},
      {0x1004, "id"},
      {0x1005, "md"},
      {0x1006, "status"},
  };
  return names;
}

std::function<void(int)> ServeData(const DataNode& tree) {
  return [tree](int fd) {
    Welcome(fd, cfm::agent::ROLE_CDB_DATA, ModelNames());
    while (const auto request = TakeRequest(fd)) {
      cfm::agent::Reply reply;
      if (request->has_end_session() ||
          (request->has_start_session() && request->start_session().flags() == 0)) {
        continue;
      }
      if (request->has_fetch()) {
        reply = AnswerFetch(tree, request->fetch().path());
      } else if (request->has_get_txid()) {
        reply.set_txid((std::uint64_t{7} << 32) + 9);
      }
      Answer(fd, reply);
    }
  };
}

}  // namespace test
