#include "hierarchy_codec.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "frame.h"
#include "manager.pb.h"
#include "node_name.h"

namespace cfm {
namespace {

// Encoding -------------------------------------------------------------------

void EncodeMep(std::uint16_t id, const hierarchy_mep& mep, manager::Mep& out) {
  out.set_md(mep.md);
  out.set_ma(mep.ma);
  out.set_mep_id(id);
  out.set_direction(static_cast<std::int32_t>(mep.direction));
  out.set_logical_interface_id(mep.logical_interface_id);
  out.set_primary_vlan_id(mep.primary_vlan_id);
  out.set_fixed_byte_1(mep.fixed_byte_1);
  out.set_cci_enabled(mep.cci_enabled);
  out.set_fixed_byte_2(mep.fixed_byte_2);
  out.set_lowest_fault_priority_defect(
      static_cast<std::uint32_t>(mep.lowest_fault_priority_defect));
  out.set_fault_alarm_time(mep.fault_alarm_time);
  out.set_fault_reset_time(mep.fault_reset_time);
  out.set_fault_action(static_cast<std::int32_t>(mep.fault_action));
}

void EncodeMa(const std::string& name, const hierarchy_ma& ma, manager::Ma& out) {
  const st_maintenance_association_cfg& association = ma.association;
  out.set_name(name);
  out.set_md(ma.md);
  out.set_name_format(association.name_format);
  out.mutable_vlan_list()->Add(association.vlan_list.begin(), association.vlan_list.end());
  out.set_ccm_interval(static_cast<std::int32_t>(association.ccm_interval));
  out.mutable_mep_ids()->Add(association.mep_ids.begin(), association.mep_ids.end());
  out.set_fixed_word_1(ma.fixed_word_1);
  out.set_fixed_word_2(ma.fixed_word_2);
  out.mutable_meps()->Reserve(static_cast<int>(ma.meps.size()));
  for (const auto& [id, mep] : ma.meps) {
    EncodeMep(id, mep, *out.add_meps());
  }
}

void EncodeMd(const std::string& name, const hierarchy_md& md, manager::Md& out) {
  out.set_name(name);
  out.set_name_format(md.name_format);
  out.set_level(md.level);
  out.set_fixed_word_1(md.fixed_word_1);
  out.set_fixed_word_2(md.fixed_word_2);
  out.mutable_mas()->Reserve(static_cast<int>(md.mas.size()));
  for (const auto& [ma_name, ma] : md.mas) {
    EncodeMa(ma_name, ma, *out.add_mas());
  }
}

// Decoding -------------------------------------------------------------------

// The node at hand; its text is made only when an error needs it.
struct Node {
  std::string_view md;
  std::optional<std::string_view> ma = std::nullopt;
  std::optional<std::uint32_t> mep_id = std::nullopt;

  std::string Text() const {
    if (mep_id) {
      return MepText(md, *ma, *mep_id);
    }
    return ma ? MaText(md, *ma) : MdText(md);
  }
};

template <typename Number>
Number Narrow(std::uint32_t value, const Node& node, const char* field) {
  if (value > std::numeric_limits<Number>::max()) {
    throw ipc::ProtocolError(fmt::format("{}: {} {} is more than {}", node.Text(), field, value,
                                         std::numeric_limits<Number>::max()));
  }
  return static_cast<Number>(value);
}

constexpr std::array kIntervals{CcmInterval::kNone, CcmInterval::k1s, CcmInterval::k10s,
                                CcmInterval::k1min, CcmInterval::k10min};
constexpr std::array kDirections{MepDirection::kNone, MepDirection::kDown, MepDirection::kUp};
constexpr std::array kDefects{Defects::kNone,       Defects::kAllDef,  Defects::kMacRemErrXcon,
                              Defects::kRemErrXcon, Defects::kErrXcon, Defects::kXcon};
constexpr std::array kFaultActions{FaultAction::kNone, FaultAction::kBlock};

template <typename Enumeration, std::size_t count>
Enumeration Enumerator(std::int64_t value, const std::array<Enumeration, count>& enumerators,
                       const Node& node, const char* field) {
  const auto* found = std::find_if(
      enumerators.begin(), enumerators.end(),
      [value](Enumeration candidate) { return static_cast<std::int64_t>(candidate) == value; });
  if (found == enumerators.end()) {
    throw ipc::ProtocolError(fmt::format("{}: {} has no value {}", node.Text(), field, value));
  }
  return *found;
}

// Adds a node of that key. At the end, where it belongs when the nodes come in
// order, this takes constant time.
template <typename Map>
typename Map::mapped_type& AddNode(Map& nodes, typename Map::key_type key, const Node& node) {
  const std::size_t before = nodes.size();
  const auto place = nodes.try_emplace(nodes.end(), std::move(key));
  if (nodes.size() == before) {
    throw ipc::ProtocolError(node.Text() + " is there twice");
  }
  return place->second;
}

void DecodeMep(const manager::Mep& in, std::uint16_t id, const Node& node, hierarchy_mep& mep) {
  mep.md = in.md();
  mep.ma = in.ma();
  mep.mep_id = id;
  mep.direction = Enumerator(in.direction(), kDirections, node, "direction");
  mep.logical_interface_id = in.logical_interface_id();
  mep.primary_vlan_id = Narrow<std::uint16_t>(in.primary_vlan_id(), node, "primary VLAN id");
  mep.fixed_byte_1 = Narrow<std::uint8_t>(in.fixed_byte_1(), node, "first fixed byte");
  mep.cci_enabled = in.cci_enabled();
  mep.fixed_byte_2 = Narrow<std::uint8_t>(in.fixed_byte_2(), node, "second fixed byte");
  mep.lowest_fault_priority_defect =
      Enumerator(in.lowest_fault_priority_defect(), kDefects, node, "lowest fault priority defect");
  mep.fault_alarm_time = Narrow<std::uint16_t>(in.fault_alarm_time(), node, "fault alarm time");
  mep.fault_reset_time = Narrow<std::uint16_t>(in.fault_reset_time(), node, "fault reset time");
  mep.fault_action = Enumerator(in.fault_action(), kFaultActions, node, "fault action");
}

void DecodeAssociation(const manager::Ma& in, const Node& node,
                       st_maintenance_association_cfg& association) {
  association.name_format = in.name_format();
  association.ccm_interval = Enumerator(in.ccm_interval(), kIntervals, node, "CCM interval");
  association.vlan_list.reserve(static_cast<std::size_t>(in.vlan_list_size()));
  for (const std::uint32_t vlan : in.vlan_list()) {
    association.vlan_list.push_back(Narrow<std::uint16_t>(vlan, node, "VLAN id"));
  }
  for (const std::uint32_t value : in.mep_ids()) {
    const std::size_t before = association.mep_ids.size();
    association.mep_ids.insert(association.mep_ids.end(),
                               Narrow<std::uint16_t>(value, node, "MEP id"));
    if (association.mep_ids.size() == before) {
      throw ipc::ProtocolError(
          fmt::format("{}: MEP id {} is in the set twice", node.Text(), value));
    }
  }
}

void DecodeMa(const manager::Ma& in, const Node& node, hierarchy_ma& ma) {
  ma.md = in.md();
  ma.fixed_word_1 = in.fixed_word_1();
  ma.fixed_word_2 = in.fixed_word_2();
  DecodeAssociation(in, node, ma.association);
  for (const manager::Mep& mep : in.meps()) {
    const Node mep_node{node.md, node.ma, mep.mep_id()};
    const auto id = Narrow<std::uint16_t>(mep.mep_id(), mep_node, "MEP id");
    DecodeMep(mep, id, mep_node, AddNode(ma.meps, id, mep_node));
  }
}

void DecodeInto(const manager::Md& in, hierarchy_md& md) {
  md.name_format = in.name_format();
  md.level = in.level();
  md.fixed_word_1 = in.fixed_word_1();
  md.fixed_word_2 = in.fixed_word_2();
  for (const manager::Ma& ma : in.mas()) {
    const Node ma_node{in.name(), ma.name()};
    DecodeMa(ma, ma_node, AddNode(md.mas, ma.name(), ma_node));
  }
}

}  // namespace

void EncodeHierarchy(const Hierarchy& hierarchy, manager::Configuration& message) {
  message.clear_mds();
  message.mutable_mds()->Reserve(static_cast<int>(hierarchy.size()));
  manager::Md encoded;  // used again: its parts keep their memory
  for (const auto& [name, md] : hierarchy) {
    encoded.Clear();
    EncodeMd(name, md, encoded);
    encoded.SerializeToString(message.add_mds());
  }
}

Hierarchy DecodeHierarchy(const manager::Configuration& message) {
  Hierarchy hierarchy;
  for (const std::string& bytes : message.mds()) {
    auto [name, md] = DecodeMd(bytes);
    AddNode(hierarchy, name, Node{name}) = std::move(md);
  }
  return hierarchy;
}

std::pair<std::string, hierarchy_md> DecodeMd(const std::string& bytes) {
  manager::Md in;
  ipc::ParsePayload(bytes, in);
  std::pair<std::string, hierarchy_md> result(in.name(), {});
  DecodeInto(in, result.second);
  return result;
}

}  // namespace cfm
