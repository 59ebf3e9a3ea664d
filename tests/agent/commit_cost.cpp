// commit_cost DIRECTORY RECORDS: commits one leaf of an element with so many
// local and remote MEPs, for callgrind to count what that takes. The commit is
// the function measured_commit; what Store::Commit does is the disk's part.
#include <malloc.h>
#include <systemd/sd-event.h>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "announcement.h"
#include "commit_queue.h"
#include "datastore.h"
#include "edit.h"
#include "lock_table.h"
#include "subscriptions.h"

namespace agentd {
namespace {

namespace pb = cfm::agent;

constexpr int kMepsPerMa = 10;
constexpr int kRecordsPerMa = 2 * kMepsPerMa;  // as many remote MEPs
constexpr int kMasPerMd = 5;

std::string MaintenanceAssociation(int number) {
  std::string meps;
  std::string remotes;
  for (int id = 1; id <= kMepsPerMa; ++id) {
    meps += std::string(id > 1 ? "," : "") + R"({"id":)" + std::to_string(id) +
            R"(,"interface":"eth0","direction":"down","continuity-check":{"cci-enabled":[null]}})";
    remotes += (id > 1 ? "," : "") + std::to_string(100 + id);
  }
  return R"({"id":"ma)" + std::to_string(number) +
         R"(","ccm-interval":"1s","primary-vlan-id":10,"vlan-list":[10,20],"remote-meps":[)" +
         remotes + R"(],"mep":[)" + meps + "]}";
}

std::string Configuration(int records) {
  std::string mds;
  for (int ma = 0; ma * kRecordsPerMa < records; ++ma) {
    if (ma % kMasPerMd == 0) {
      mds += std::string(ma > 0 ? "]}," : "") + R"({"id":"md)" + std::to_string(ma / kMasPerMd) +
             R"(","level":3,"ma":[)";
    }
    mds += (ma % kMasPerMd > 0 ? "," : "") + MaintenanceAssociation(ma % kMasPerMd);
  }
  return R"({"element-cfm:config":{"oam":{"cfm":{"md":[)" + mds + "]}]}}}}";
}

class Committer {
 public:
  explicit Committer(const std::filesystem::path& directory) : store_(directory / "running.db") {
    sd_event_default(&loop_);
  }
  ~Committer() { sd_event_unref(loop_); }

  Committer(const Committer&) = delete;
  Committer& operator=(const Committer&) = delete;

  void Commit(const pb::Edit& edit) {
    bool committed = false;
    queue_->Add({.owner = this,
                 .origin = "commit_cost",
                 .make = [this, &edit]() -> Result<Draft> {
                   Draft draft = datastore_.NewDraft();
                   if (Problems problems = ApplyEdits(model_, draft, edit); !problems.empty()) {
                     return problems;
                   }
                   return draft;
                 },
                 .done =
                     [&committed](const CommitResult& result) {
                       committed = result.problems.empty() && !result.nothing_changed;
                     }});
    if (!committed) {
      throw std::runtime_error("the commit changed nothing");
    }
  }
  void Open() { queue_.emplace(loop_, datastore_, *locks_, *announcement_, kPatience); }
  void Announce() {
    heartbeat_.emplace(loop_, HeartbeatRules{}, Heartbeat::Senses{});
    locks_.emplace(*heartbeat_);
    announcement_.emplace(loop_, model_, subscriptions_, *heartbeat_, kPatience);
  }

 private:
  static constexpr std::chrono::seconds kPatience{1};

  Model model_{TEST_YANG_DIR};
  Store store_;
  Datastore datastore_{model_, store_};
  Subscriptions subscriptions_;
  sd_event* loop_ = nullptr;
  std::optional<Heartbeat> heartbeat_;  // with nobody to watch
  std::optional<LockTable> locks_;
  std::optional<Announcement> announcement_;
  std::optional<CommitQueue> queue_;
};

pb::Edit Level(const std::string& value) {
  pb::Edit edit;
  auto& operation = *edit.add_operations();
  operation.set_operation(pb::EditOperation::MERGE);
  operation.set_path("/config/oam/cfm/md[id='md0']/level");
  operation.set_value(value);
  return edit;
}

}  // namespace
}  // namespace agentd

extern "C" [[gnu::noinline]] void measured_commit(void* committer, const void* edit) {
  static_cast<agentd::Committer*>(committer)->Commit(*static_cast<const agentd::pb::Edit*>(edit));
}

int main(int argc, char** argv) try {
  if (argc != 3) {
    throw std::runtime_error("usage: commit_cost DIRECTORY RECORDS");
  }
  agentd::Committer committer(argv[1]);
  committer.Announce();
  committer.Open();
  agentd::pb::Edit all;
  auto& document = *all.add_operations();
  document.set_operation(agentd::pb::EditOperation::MERGE);
  document.set_document(agentd::Configuration(std::atoi(argv[2])));
  document.set_format(agentd::pb::FORMAT_JSON);
  committer.Commit(all);
  committer.Commit(agentd::Level("4"));  // whatever is done once only
  const agentd::pb::Edit edit = agentd::Level("5");
  malloc_trim(0);  // or the commit would sort what the load has freed
  CALLGRIND_START_INSTRUMENTATION;
  measured_commit(&committer, &edit);
  CALLGRIND_STOP_INSTRUMENTATION;
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "commit_cost: %s\n", error.what());
  return 1;
}
