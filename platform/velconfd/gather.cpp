#include "gather.h"

#include <confd_cdb.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <utility>

#include "agent_error.h"

namespace velconfd {
namespace {

struct Walker {
  Commit* commit;
  std::size_t walk;
  std::exception_ptr failure;
};

// Called from C: what Record throws waits in the walker.
confd_iter_ret RecordNode(confd_hkeypath_t* node, confd_iter_op op, confd_value_t* old_value,
                          confd_value_t* new_value, void* state) noexcept {
  Walker& walker = *static_cast<Walker*>(state);
  try {
    return walker.commit->Record(walker.walk, *node, op, old_value, new_value);
  } catch (...) {
    walker.failure = std::current_exception();
    return ITER_STOP;
  }
}

void MakeWalk(int socket, Commit& commit, std::size_t walk) {
  Walker walker{&commit, walk, nullptr};
  const int result = cdb_diff_iterate(socket, commit.Walk(walk).subscription_id, RecordNode,
                                      ITER_WANT_PREV, &walker);
  if (walker.failure != nullptr) {
    std::rethrow_exception(walker.failure);
  }
  Check(result, "cdb_diff_iterate");
}

bool Contains(const std::vector<int>& ids, int id) {
  return std::find(ids.begin(), ids.end(), id) != ids.end();
}

}  // namespace

std::vector<Commit> GatherCommits(int socket, const Subscriptions& subscriptions,
                                  const std::vector<int>& notified) {
  std::vector<Commit> commits;
  for (const HandlerPoints& handler : subscriptions.Handlers()) {
    Commit commit(handler);
    bool concerned = false;
    for (std::size_t walk = 0; walk < commit.Walks(); ++walk) {
      if (Contains(notified, commit.Walk(walk).subscription_id)) {
        concerned = true;
        MakeWalk(socket, commit, walk);
      }
    }
    if (concerned) {
      commits.push_back(std::move(commit));
    }
  }
  return commits;
}

}  // namespace velconfd
