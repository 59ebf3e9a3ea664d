// What one session has read of its datastore, and the answers that follow
// from it. A session on the running datastore sees one state, so what was read
// stays true.
#ifndef CONFD_CLIENT_READ_CACHE_H
#define CONFD_CLIENT_READ_CACHE_H

#include <agent.pb.h>

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "confd_client/cached_node.h"
#include "confd_client/path.h"

namespace confd {

// Answer to a path.
struct Finding {
  enum class Verdict {
    kUnknown,  // has to be fetched
    kFound,
    kAbsent,
    kNotAList,    // the path picks an entry of a node that has none
    kNeedsEntry,  // the path goes through a list without saying which entry
  };

  Verdict verdict = Verdict::kUnknown;
  std::size_t step = 0;                        // where the path ends or breaks off
  const cfm::agent::DataNode* data = nullptr;  // kFound
  std::uint32_t entries = 0;                   // kFound by Count
};

class ReadCache {
 public:
  // How much to trust what is not there: after a Fetch for the very path, an
  // entry that is missing below a covered node does not exist.
  enum class Asked { kNotYet, kFetched };

  // Adds the answer to a Fetch. Throws ipc::ProtocolError.
  void Add(std::shared_ptr<const cfm::agent::DataNode> piece);
  // Adds that a Fetch found no top-level node of this name.
  void AddAbsence(const std::string& name);

  // The node that the path names.
  Finding Find(const Path& path, Asked asked);
  // Number of entries of the list that the last step names; kAbsent for a list
  // without any, and where its parent is absent.
  Finding Count(const Path& path, Asked asked);

 private:
  struct Place {
    Finding finding;
    CachedNode* node = nullptr;  // kFound
  };

  Place Walk(const Path& path, std::size_t steps, Asked asked);
  static Place Enter(CachedNode& parent, const Step& step, Asked asked);
  static Place EnterEntry(CachedNode& parent, const Step& step, Asked asked);

  CachedNode root_;
  std::set<std::string> absent_;  // top-level names
  std::vector<std::shared_ptr<const cfm::agent::DataNode>> pieces_;
};

}  // namespace confd

#endif
