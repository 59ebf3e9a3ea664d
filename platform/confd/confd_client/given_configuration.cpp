#include "confd_client/given_configuration.h"

#include <utility>

#include "confd_client/connection.h"
#include "confd_client/late_session.h"

namespace confd {
namespace {

GivenConfiguration* in_force = nullptr;

}  // namespace

GivenConfiguration::GivenConfiguration(std::string agent,
                                       const std::shared_ptr<const cfm::agent::ReadBatch>& batch)
    : cache_(std::make_shared<ReadCache>()), agent_(std::move(agent)), outer_(in_force) {
  for (const auto& node : batch->configuration()) {
    cache_->Add({batch, &node});
  }
  in_force = this;
}

GivenConfiguration::~GivenConfiguration() {
  Leave();
  in_force = outer_;
}

std::shared_ptr<ReadCache> GivenConfiguration::ForNewSession(const std::string& agent) {
  return in_force != nullptr && in_force->agent_ == agent ? in_force->cache_ : nullptr;
}

void GivenConfiguration::Leave() noexcept {
  if (in_force == nullptr || std::exchange(in_force->cache_, nullptr) == nullptr) {
    return;
  }
  Guarded([] {
    for (const auto& connection : AllConnections()) {
      // One that is over is found to be so by its session's next read.
      Guarded([&] {
        BeginAndAwait(*connection);
        return CONFD_OK;
      });
    }
    return CONFD_OK;
  });
}

void GivenConfiguration::NoteRead(const ReadCache& cache) {
  if (in_force != nullptr && in_force->cache_.get() == &cache) {
    in_force->was_read_ = true;
  }
}

void GivenConfiguration::ForgetReads() {
  if (in_force != nullptr) {
    in_force->was_read_ = false;
  }
}

bool GivenConfiguration::WasRead() {
  return in_force != nullptr && in_force->was_read_;
}

}  // namespace confd
