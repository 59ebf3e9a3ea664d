#include "engine.h"

#include <algorithm>

#include "ccm.h"

namespace cfm::engine {

Engine::Engine(std::string sender_id) {
  sender_id.resize(std::min(sender_id.size(), kLongestSenderId));
  around_.sender_id = std::move(sender_id);
  around_.offer_to_relay = [this](PortId from, ByteView bytes) {
    if (const auto frame = ParseCfmFrame(bytes)) {
      OfferToRelay(from, *frame);
    }
  };
}

std::vector<std::string> Engine::Apply(const Hierarchy& hierarchy, const Moment& now) {
  RunDue(now);
  std::vector<std::string> warnings;
  MepPlan plan = PlanMeps(hierarchy, warnings);
  directory_.Clear();
  const std::size_t since = around_.effects.size();
  RemoveGone(plan);
  ReportOtherViews(since);
  Adopt(std::move(plan));
  for (const auto& [name, mep] : meps_) {
    directory_.Add(*mep);
  }
  RunDue(now);
  return warnings;
}

void Engine::RemoveGone(const MepPlan& plan) {
  for (auto next = meps_.begin(); next != meps_.end();) {
    const auto mep = next++;
    if (const auto planned = plan.find(mep->first); planned != plan.end()) {
      mep->second->RemoveRemotesBut(planned->second.members->remote);
    } else {
      mep->second->RemoveAll();
      meps_.erase(mep);
    }
  }
}

void Engine::ReportOtherViews(std::size_t since) {
  const Effects removals(around_.effects.begin() + static_cast<std::ptrdiff_t>(since),
                         around_.effects.end());
  for (const Effect& effect : removals) {
    const auto* removed = std::get_if<RemoteRemoved>(&effect);
    if (removed == nullptr) {
      continue;
    }
    const auto& [md, ma, id] = removed->mep;
    for (auto mep = meps_.lower_bound({md, ma, 0});
         mep != meps_.end() && mep->first.md == md && mep->first.ma == ma; ++mep) {
      mep->second->ReportRemote(removed->remote);
    }
  }
}

void Engine::Adopt(MepPlan plan) {
  for (auto& [name, settings] : plan) {
    if (const auto mep = meps_.find(name); mep != meps_.end()) {
      mep->second->Reconfigure(std::move(settings));
    } else {
      meps_.emplace(name, std::make_unique<Mep>(around_, name, std::move(settings)));
    }
  }
}

void Engine::SetPort(PortId port, const PortFacts& facts, const Moment& now) {
  RunDue(now);
  around_.ports.Set(port, facts);
  PortChanged(port);
}

void Engine::RemovePort(PortId port, const Moment& now) {
  RunDue(now);
  around_.ports.Remove(port);
  PortChanged(port);
}

void Engine::PortChanged(PortId port) {
  for (Mep* mep : directory_.MepsOfPort(port)) {
    mep->PortChanged();
  }
  RunDue(around_.now);
}

void Engine::Receive(PortId port, ByteView bytes, const Moment& now) {
  RunDue(now);
  const auto frame = ParseCfmFrame(bytes);
  if (!frame || frame->opcode != kCcmOpcode) {
    return;
  }
  if (Mep* mep = directory_.FirstInTheWay(port, false, frame->vlan, frame->level)) {
    mep->Receive(*frame);
  } else if (directory_.FirstInTheWay(port, true, frame->vlan, frame->level) == nullptr) {
    OfferToRelay(port, *frame);
  }
  RunDue(now);
}

void Engine::OfferToRelay(PortId from, const CfmFrame& frame) {
  for (const PortId port : directory_.PortsWithUpMeps(frame.vlan)) {
    if (port == from) {
      continue;
    }
    if (Mep* mep = directory_.FirstInTheWay(port, true, frame.vlan, frame.level)) {
      mep->Receive(frame);
    }
  }
}

void Engine::Advance(const Moment& now) {
  RunDue(now);
}

void Engine::RunDue(const Moment& now) {
  around_.now = now;
  around_.timers.RunDue(now.monotonic);
}

void Engine::ReportAll() {
  for (const auto& [name, mep] : meps_) {
    mep->ReportAll();
  }
}

std::vector<MepStatistics> Engine::Statistics() const {
  std::vector<MepStatistics> all;
  all.reserve(meps_.size());
  for (const auto& [name, mep] : meps_) {
    MepStatistics& one = all.emplace_back(MepStatistics{name, mep->Statistics(), {}});
    mep->Remotes().ForEachStatistics([&one](std::uint16_t remote, const st_rmep_stats& statistics) {
      one.remotes.push_back({remote, statistics});
    });
  }
  return all;
}

void Engine::ClearStatistics(std::string_view md, std::string_view ma, std::uint16_t mep) {
  for (const auto& [name, local] : meps_) {
    if ((!md.empty() && md != name.md) || (!ma.empty() && ma != name.ma)) {
      continue;
    }
    if (mep == 0 || mep == name.id) {
      local->ClearStatistics();
    } else {
      local->ClearRemoteStatistics(mep);
    }
  }
}

}  // namespace cfm::engine
