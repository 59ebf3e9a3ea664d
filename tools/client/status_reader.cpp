#include "status_reader.h"

#include "core/status_model.h"
#include "error_lines.h"
#include "tree_codec.h"

namespace cfmctl {
namespace {

namespace agent = cfm::agent;

void AddFilter(agent::Get& get, const std::vector<std::string>& leaves,
               const std::optional<std::string>& value) {
  if (value) {
    agent::EntryFilter& filter = *get.add_filters();
    filter.mutable_leaves()->Add(leaves.begin(), leaves.end());
    filter.set_value(*value);
  }
}

agent::Request RequestFor(const MepSelection& selection, const std::vector<std::string>& leaves) {
  agent::Request request;
  agent::Get& get = *request.mutable_get();
  get.set_datastore(agent::DATASTORE_OPERATIONAL);
  get.set_path(std::string(kStatusPath));
  get.set_format(agent::FORMAT_TREE);
  get.mutable_leaves()->Add(leaves.begin(), leaves.end());
  AddFilter(get, {"md"}, selection.md);
  AddFilter(get, {"ma"}, selection.ma);
  AddFilter(get, {"mep", "local-mep", "remote-mep"},
            selection.mep ? std::optional(std::to_string(*selection.mep)) : std::nullopt);
  return request;
}

}  // namespace

StatusReading ReadStatus(AgentClient client, const MepSelection& selection,
                         const std::vector<std::string>& leaves) {
  const agent::Reply reply = client.Ask(RequestFor(selection, leaves));
  if (!reply.errors().empty()) {
    throw Failure(ExitStatus::kRefused, "the status cannot be shown", ErrorLines(reply));
  }
  return {RecordsIn(ToTree(reply.node()), selection),
          {reply.warnings().begin(), reply.warnings().end()}};
}

}  // namespace cfmctl
