#include "world.h"

#include <algorithm>

#include "hierarchy_codec.h"
#include "manager.pb.h"

namespace cfm::engine {

namespace {

std::string Encoded(const Hierarchy::value_type& md) {
  manager::Configuration message;
  EncodeHierarchy({md}, message);
  return message.SerializeAsString();
}

// The MDs that are not the same in both.
std::set<std::string> Touched(const Hierarchy& before, const Hierarchy& after) {
  std::set<std::string> names;
  for (const auto& [ours, theirs] : {std::pair(&before, &after), std::pair(&after, &before)}) {
    for (const auto& md : *ours) {
      const auto other = theirs->find(md.first);
      if (other == theirs->end() || Encoded(*other) != Encoded(md)) {
        names.insert(md.first);
      }
    }
  }
  return names;
}

}  // namespace

Moment At(Nanoseconds monotonic) {
  return {monotonic,
          100 + static_cast<std::uint64_t>(
                    std::chrono::duration_cast<std::chrono::seconds>(monotonic).count())};
}

const st_lmep_status& Element::Local(const OneMep& mep) const {
  return locals.at({mep.md, mep.ma, mep.id});
}

const st_rmep_status& Element::Remote(const OneMep& mep, std::uint16_t id) const {
  return remotes.at({{mep.md, mep.ma, mep.id}, id});
}

std::string Element::Defects() const {
  std::string letters;
  for (int index = 0; index < kDefectCount; ++index) {
    if (locals.begin()->second.defects[index]) {
      letters.push_back("ASRIX"[index]);
    }
  }
  return letters;
}

PortFacts GoodPort(std::uint8_t number) {
  return {.mac = {{0x02, 0, 0, 0, 0, number}},
          .interface_status = InterfaceStatus::kIsUp,
          .port_status = PortStatus::kUp};
}

Ccm PeerCcm(const OneMep& mep) {
  return {.level = static_cast<std::uint8_t>(mep.level),
          .interval = static_cast<std::uint8_t>(mep.interval),
          .mep_id = *mep.remotes.begin(),
          .maid = MakeMaid(mep.md, mep.ma).value(),
          .port_status = PortStatus::kUp,
          .interface_status = InterfaceStatus::kIsUp};
}

Element& World::AddElement(const std::string& sender_id) {
  Element& element = elements_.emplace_back(sender_id);
  SetPort(element, kPort, GoodPort(static_cast<std::uint8_t>(elements_.size())));
  return element;
}

Wire& World::Connect(Element& left, PortId left_port, Element& right, PortId right_port) {
  return wires_.emplace_back(Wire{{&left, &right}, {left_port, right_port}});
}

void World::Run(Nanoseconds time) {
  const Nanoseconds end = now_ + time;
  while (true) {
    Nanoseconds next = end;
    for (const Element& element : elements_) {
      next = std::min(next, element.engine.NextDeadline().value_or(end));
    }
    now_ = next;
    bool idle = true;
    for (Element& element : elements_) {
      element.engine.Advance(At(now_));
      Collect(element);
    }
    for (const Element& element : elements_) {
      idle = idle && element.engine.NextDeadline().value_or(Nanoseconds::max()) > now_;
    }
    if (idle && now_ == end) {
      return;
    }
  }
}

std::vector<std::string> World::Apply(Element& element, const Hierarchy& hierarchy) {
  auto warnings = element.engine.Apply(hierarchy, Touched(element.applied, hierarchy), At(now_));
  element.applied = hierarchy;
  Collect(element);
  return warnings;
}

void World::SetPort(Element& element, PortId port, const PortFacts& facts) {
  element.ports[port] = facts;
  element.engine.SetPort(port, facts, At(now_));
  Collect(element);
}

void World::RemovePort(Element& element, PortId port) {
  element.ports.erase(port);
  element.engine.RemovePort(port, At(now_));
  Collect(element);
}

void World::Inject(Element& element, PortId port, const Bytes& frame) {
  element.engine.Receive(port, frame, At(now_));
  Collect(element);
}

void World::Inject(Element& element, const Ccm& ccm, std::uint16_t vlan) {
  Inject(element, kPort, EncodeCcm(ccm, {{0x02, 0, 0, 0, 0, 0x99}}, vlan));
}

void World::Collect(Element& element) {
  for (const Effect& effect : element.engine.TakeEffects()) {
    if (const auto* transmit = std::get_if<Transmit>(&effect)) {
      Send(element, transmit->port, transmit->frame);
    } else if (const auto* relayed = std::get_if<TransmitIntoRelay>(&effect)) {
      for (const auto& [port, facts] : element.ports) {
        if (port != relayed->from) {
          Send(element, port, relayed->frame);
        }
      }
    } else {
      Note(element, effect);
    }
  }
}

void World::Note(Element& element, const Effect& effect) {
  element.reports.push_back(effect);
  if (const auto* local = std::get_if<LocalStatus>(&effect)) {
    element.locals[local->mep] = local->status;
  } else if (const auto* remote = std::get_if<RemoteStatus>(&effect)) {
    element.remotes[{remote->mep, remote->remote}] = remote->status;
  } else if (const auto* gone = std::get_if<LocalRemoved>(&effect)) {
    EXPECT_EQ(element.locals.erase(gone->mep), 1U);
  } else if (const auto* remote_gone = std::get_if<RemoteRemoved>(&effect)) {
    EXPECT_EQ(element.remotes.erase({remote_gone->mep, remote_gone->remote}), 1U);
  } else if (const auto* block = std::get_if<PortBlock>(&effect)) {
    const bool changes = block->blocked ? element.blocked.insert(block->port).second
                                        : element.blocked.erase(block->port) == 1;
    EXPECT_TRUE(changes) << "port " << block->port;
  } else if (const auto* alarm = std::get_if<FaultAlarm>(&effect)) {
    element.alarms.push_back({now_, alarm->defect});
  }
}

void World::Send(Element& element, PortId port, const Bytes& frame) {
  element.sent.push_back({now_, port, frame});
  for (const Wire& wire : wires_) {
    for (int end = 0; end < 2; ++end) {
      if (wire.ends[end] == &element && wire.ports[end] == port && !wire.cut[end]) {
        Inject(*wire.ends[1 - end], wire.ports[1 - end], frame);
      }
    }
  }
}

Pair::Pair(OneMep mep)
    : here_mep(mep),
      there_mep(mep),
      here(world.AddElement("here")),
      there(world.AddElement("there")),
      wire(world.Connect(here, World::kPort, there, World::kPort)) {
  here_mep.id = 1;
  here_mep.remotes = {2};
  there_mep.id = 2;
  there_mep.remotes = {1};
  world.Apply(here, Configure(here_mep));
  world.Apply(there, Configure(there_mep));
}

}  // namespace cfm::engine
