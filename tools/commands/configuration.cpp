#include "configuration.h"

#include "client/tree_codec.h"
#include "core/path.h"
#include "core/tree_location.h"
#include "replies.h"

namespace cfmctl {

TreeNode ReadConfiguration(const Environment& environment) {
  cfm::agent::Request request;
  request.mutable_get()->set_datastore(cfm::agent::DATASTORE_RUNNING);
  request.mutable_get()->set_format(cfm::agent::FORMAT_TREE);
  const cfm::agent::Reply reply = environment.ConnectAgent().Ask(request);
  CheckReply(environment, reply, "the configuration cannot be read");
  const TreeNode top = ToTree(reply.node());
  const auto nodes = NodesAt(top, ParsePath(""));
  return nodes.empty() ? TreeNode() : *nodes.front();
}

}  // namespace cfmctl
