#include "status_reader.h"

#include <algorithm>

#include "core/status_model.h"
#include "error_lines.h"
#include "status_watch.h"
#include "tree_codec.h"

namespace cfmctl {
namespace {

namespace agent = cfm::agent;

constexpr const char* kNothingThere = "data-missing";

bool SaysNothingIsThere(const agent::Reply& reply) {
  return std::ranges::all_of(
      reply.errors(), [](const agent::Error& error) { return error.rule() == kNothingThere; });
}

class Reader {
 public:
  Reader(AgentClient client, const MepSelection& selection)
      : client_(std::move(client)), selection_(selection) {}

  void Read(const std::string& path) {
    agent::Request request;
    agent::Get& get = *request.mutable_get();
    get.set_datastore(agent::DATASTORE_OPERATIONAL);
    get.set_path(path);
    get.set_format(agent::FORMAT_TREE);
    const agent::Reply reply = client_.Ask(request);
    for (const std::string& warning : reply.warnings()) {
      Warn(warning);
    }
    if (!SaysNothingIsThere(reply)) {
      throw Failure(ExitStatus::kRefused, "the status cannot be shown", ErrorLines(reply));
    }
    std::ranges::move(RecordsIn(ToTree(reply.node()), selection_),
                      std::back_inserter(reading_.records));
  }

  StatusReading Take() { return std::move(reading_); }

 private:
  void Warn(const std::string& warning) {
    if (std::ranges::find(reading_.warnings, warning) == reading_.warnings.end()) {
      reading_.warnings.push_back(warning);
    }
  }

  AgentClient client_;
  MepSelection selection_;
  StatusReading reading_;
};

}  // namespace

StatusReading ReadStatus(const std::function<AgentClient()>& connect, const MepSelection& selection,
                         std::chrono::milliseconds timeout) {
  Reader reader(connect(), selection);
  if (selection.IsEverything()) {
    reader.Read(std::string(kStatusPath));
    return reader.Take();
  }
  const auto paths = StatusWatch(connect(), Deadline::After(timeout)).Board().Paths(selection);
  for (const std::string& path : paths) {
    reader.Read(path);
  }
  return reader.Take();
}

}  // namespace cfmctl
