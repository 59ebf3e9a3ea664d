// One node of a session's copy of the datastore. What it knows grows with the
// pieces that the agent sends; a node that is known as a whole looks into its
// piece only when somebody comes by.
#ifndef CONFD_CLIENT_CACHED_NODE_H
#define CONFD_CLIENT_CACHED_NODE_H

#include <agent.pb.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "confd_client/path.h"

namespace confd {

class CachedNode;

// The entries of one list that are known.
struct CachedList {
  std::optional<std::uint32_t> size;  // of the list in the datastore, if known
  std::unordered_map<std::string, std::unique_ptr<CachedNode>> by_key;  // IndexText of the keys
  std::unordered_map<std::uint32_t, CachedNode*> by_position;

  CachedNode* Find(const Step& step) const;
  // Whether an entry that Find does not know cannot exist.
  bool Excludes(const Step& step) const;
};

class CachedNode {
 public:
  using DataNode = cfm::agent::DataNode;

  // Learns of a child what `piece` says of it; see Merge.
  void AddChild(const DataNode& piece, bool whole);
  // Learns what `piece` says of this node and of those below it. With `whole`
  // the piece is part of a subtree that is all there. The piece must outlive
  // the node. Throws ipc::ProtocolError.
  void Merge(const DataNode& piece, bool whole);
  // The node as the agent sent it; null for the root.
  const DataNode* Data() const { return data_; }
  // Containers, leaves and leaf-lists.
  CachedNode* FindNode(std::string_view name);
  // Null when no entry and no size of such a list is known.
  const CachedList* FindList(std::string_view name);
  // Everything but list entries is known: what is not found is not there.
  bool KnowsOwnNodes() const { return knows_own_nodes_; }
  // List entries as well.
  bool KnowsEverything() const { return knows_everything_; }

 private:
  // Made from its piece when somebody asks for it.
  struct Child {
    std::string_view name;
    const DataNode* piece;
    bool whole;
    std::unique_ptr<CachedNode> node;
  };

  void Expand();
  void AddEntry(const DataNode& entry, bool whole);
  CachedNode& NodeOf(Child& child);
  CachedList& ListOf(std::string_view name);

  const DataNode* data_ = nullptr;
  bool knows_own_nodes_ = false;
  bool knows_everything_ = false;
  bool is_expanded_ = true;  // of a whole node: what is below is filled in
  // One for each name that the model has here, which are few: looking through
  // them is faster than a map. The names are those in the pieces.
  std::vector<Child> children_;
  std::vector<std::pair<std::string_view, CachedList>> lists_;
};

}  // namespace confd

#endif
