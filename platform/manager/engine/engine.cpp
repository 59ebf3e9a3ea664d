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

std::vector<std::string> Engine::Apply(const Hierarchy& hierarchy,
                                       const std::set<std::string>& touched, const Moment& now) {
  RunDue(now);
  MepPlan plan;
  for (const std::string& name : touched) {
    std::vector<std::string> warnings;
    if (const auto md = hierarchy.find(name); md != hierarchy.end()) {
      PlanMeps(name, md->second, plan, warnings);
    }
    warnings_.insert_or_assign(name, std::move(warnings));
  }
  const bool keeps_the_way = std::ranges::all_of(
      touched, [&](const std::string& name) { return KeepsTheWay(name, plan); });
  if (!keeps_the_way) {
    directory_.Clear();
  }
  const std::size_t since = around_.effects.size();
  for (const std::string& name : touched) {
    RemoveGone(name, plan);
  }
  ReportOtherViews(since);
  Adopt(std::move(plan));
  if (!keeps_the_way) {
    for (const auto& [name, mep] : meps_) {
      directory_.Add(*mep);
    }
  }
  RunDue(now);
  return Warnings();
}

std::vector<std::string> Engine::Warnings() const {
  std::vector<std::string> all;
  for (const auto& [md, warnings] : warnings_) {
    all.insert(all.end(), warnings.begin(), warnings.end());
  }
  return all;
}

bool Engine::KeepsTheWay(const std::string& md, const MepPlan& plan) {
  auto mep = FirstOf(md);
  auto planned = plan.lower_bound({md, "", 0});
  const auto is_in = [&md](const auto& all, const auto& each) {
    return each != all.end() && each->first.md == md;
  };
  while (is_in(meps_, mep) && is_in(plan, planned)) {
    const MepSettings& settings = mep->second->Settings();
    if (mep->first != planned->first || settings.usable != planned->second.usable ||
        settings.line != planned->second.line) {
      return false;
    }
    ++mep;
    ++planned;
  }
  return !is_in(meps_, mep) && !is_in(plan, planned);
}

void Engine::RemoveGone(const std::string& md, const MepPlan& plan) {
  for (auto next = FirstOf(md); next != meps_.end() && next->first.md == md;) {
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
