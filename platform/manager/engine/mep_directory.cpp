#include "mep_directory.h"

#include <algorithm>

namespace cfm::engine {
namespace {

std::uint64_t Place(PortId port, bool up, std::uint16_t vlan) {
  return std::uint64_t{port} << 32 | std::uint64_t{vlan} << 1 | (up ? 1 : 0);
}

std::uint8_t LevelOf(const Mep* mep) {
  return mep->Settings().line.level;
}

template <typename Map, typename Key>
auto Find(const Map& map, const Key& key) {
  const auto found = map.find(key);
  using Element = typename Map::mapped_type::value_type;
  return found == map.end() ? std::span<const Element>() : std::span<const Element>(found->second);
}

}  // namespace

void MepDirectory::Add(Mep& mep) {
  const Line& line = mep.Settings().line;
  by_port_[line.port].push_back(&mep);
  if (!mep.Settings().usable) {
    return;
  }
  for (const std::uint16_t vlan : line.vlans) {
    auto& here = meps_[Place(line.port, line.up, vlan)];
    if (line.up && here.empty()) {
      up_ports_[vlan].push_back(line.port);
    }
    here.insert(std::ranges::upper_bound(here, line.level, {}, LevelOf), &mep);
  }
}

void MepDirectory::Clear() {
  meps_.clear();
  up_ports_.clear();
  by_port_.clear();
}

Mep* MepDirectory::FirstInTheWay(PortId port, bool up, std::uint16_t vlan,
                                 std::uint8_t level) const {
  const auto here = Find(meps_, Place(port, up, vlan));
  const auto found = std::ranges::lower_bound(here, level, {}, LevelOf);
  return found == here.end() ? nullptr : *found;
}

std::span<const PortId> MepDirectory::PortsWithUpMeps(std::uint16_t vlan) const {
  return Find(up_ports_, vlan);
}

std::span<Mep* const> MepDirectory::MepsOfPort(PortId port) const {
  return Find(by_port_, port);
}

}  // namespace cfm::engine
