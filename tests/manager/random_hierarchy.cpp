#include "random_hierarchy.h"

#include <array>
#include <limits>
#include <tuple>

namespace test {
namespace {

using cfm::CcmInterval;
using cfm::Defects;
using cfm::FaultAction;
using cfm::MepDirection;

std::size_t Below(std::mt19937& random, std::size_t limit) {
  return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
}

template <typename Number>
Number Any(std::mt19937& random) {
  constexpr auto kLowest = std::numeric_limits<Number>::min();
  constexpr auto kHighest = std::numeric_limits<Number>::max();
  switch (Below(random, 4)) {
    case 0:
      return kLowest;
    case 1:
      return kHighest;
    default:
      return static_cast<Number>(
          std::uniform_int_distribution<std::int64_t>(kLowest, kHighest)(random));
  }
}

template <typename Value, std::size_t count>
Value OneOf(std::mt19937& random, const std::array<Value, count>& values) {
  return values[Below(random, count)];
}

// Empty, long, and of any bytes.
std::string AnyName(std::mt19937& random) {
  constexpr std::array<std::size_t, 5> kLengths{0, 1, 7, 43, 5000};
  std::string name(OneOf(random, kLengths), '\0');
  for (char& c : name) {
    c = static_cast<char>(Below(random, 256));
  }
  return name;
}

cfm::hierarchy_mep AnyMep(std::mt19937& random, std::uint16_t id) {
  cfm::hierarchy_mep mep;
  mep.md = AnyName(random);
  mep.ma = AnyName(random);
  mep.mep_id = id;
  mep.direction =
      OneOf(random, std::array{MepDirection::kNone, MepDirection::kDown, MepDirection::kUp});
  mep.logical_interface_id = Any<std::uint32_t>(random);
  mep.primary_vlan_id = Any<std::uint16_t>(random);
  mep.fixed_byte_1 = Any<std::uint8_t>(random);
  mep.cci_enabled = Below(random, 2) == 1;
  mep.fixed_byte_2 = Any<std::uint8_t>(random);
  mep.lowest_fault_priority_defect = static_cast<Defects>(Below(random, 6));
  mep.fault_alarm_time = Any<std::uint16_t>(random);
  mep.fault_reset_time = Any<std::uint16_t>(random);
  mep.fault_action = OneOf(random, std::array{FaultAction::kNone, FaultAction::kBlock});
  return mep;
}

cfm::hierarchy_ma AnyMa(std::mt19937& random) {
  cfm::hierarchy_ma ma;
  ma.md = AnyName(random);
  ma.association.name_format = Any<std::uint32_t>(random);
  ma.association.ccm_interval =
      OneOf(random, std::array{CcmInterval::kNone, CcmInterval::k1s, CcmInterval::k10s,
                               CcmInterval::k1min, CcmInterval::k10min});
  ma.fixed_word_1 = Any<std::uint32_t>(random);
  ma.fixed_word_2 = Any<std::uint32_t>(random);
  for (std::size_t left = Below(random, 5); left > 0; --left) {
    ma.association.vlan_list.push_back(Any<std::uint16_t>(random));
  }
  for (std::size_t left = Below(random, 5); left > 0; --left) {
    ma.association.mep_ids.insert(Any<std::uint16_t>(random));
  }
  for (std::size_t left = Below(random, 5); left > 0; --left) {
    const auto id = Any<std::uint16_t>(random);
    ma.meps[id] = AnyMep(random, id);
  }
  return ma;
}

}  // namespace

cfm::Hierarchy RandomHierarchy(std::mt19937& random) {
  cfm::Hierarchy hierarchy;
  for (std::size_t mds = Below(random, 4); mds > 0; --mds) {
    cfm::hierarchy_md& md = hierarchy[AnyName(random)];
    md.name_format = Any<std::uint32_t>(random);
    md.level = Any<std::int32_t>(random);
    md.fixed_word_1 = Any<std::uint32_t>(random);
    md.fixed_word_2 = Any<std::uint32_t>(random);
    for (std::size_t mas = Below(random, 4); mas > 0; --mas) {
      md.mas[AnyName(random)] = AnyMa(random);
    }
  }
  return hierarchy;
}

cfm::Hierarchy RegularHierarchy(const std::string& md_name, int mas, int meps,
                                std::uint32_t logical_interface_id) {
  cfm::Hierarchy hierarchy;
  cfm::hierarchy_md& md = hierarchy[md_name];
  md = {.name_format = 4, .level = 3, .fixed_word_1 = 1, .fixed_word_2 = 1, .mas = {}};
  for (int i = 0; i < mas; ++i) {
    const std::string ma_name = "ma" + std::to_string(i);
    cfm::hierarchy_ma& ma = md.mas[ma_name];
    ma.md = md_name;
    ma.association.name_format = 2;
    ma.association.vlan_list = {static_cast<std::uint16_t>(10 + i % 4000)};
    ma.association.ccm_interval = CcmInterval::k1s;
    ma.fixed_word_1 = 1;
    ma.fixed_word_2 = 1;
    for (int id = 1; id <= meps; ++id) {
      const auto mep_id = static_cast<std::uint16_t>(id);
      ma.association.mep_ids.insert(mep_id);
      ma.meps[mep_id] = {.md = md_name,
                         .ma = ma_name,
                         .mep_id = mep_id,
                         .direction = MepDirection::kUp,
                         .logical_interface_id = logical_interface_id,
                         .primary_vlan_id = 0,
                         .fixed_byte_1 = 1,
                         .cci_enabled = true,
                         .fixed_byte_2 = 7,
                         .lowest_fault_priority_defect = Defects::kMacRemErrXcon,
                         .fault_alarm_time = 2500,
                         .fault_reset_time = 10000,
                         .fault_action = FaultAction::kNone};
    }
  }
  return hierarchy;
}

}  // namespace test

namespace cfm {
namespace {

auto All(const hierarchy_mep& mep) {
  return std::tie(mep.md, mep.ma, mep.mep_id, mep.direction, mep.logical_interface_id,
                  mep.primary_vlan_id, mep.fixed_byte_1, mep.cci_enabled, mep.fixed_byte_2,
                  mep.lowest_fault_priority_defect, mep.fault_alarm_time, mep.fault_reset_time,
                  mep.fault_action);
}

auto All(const hierarchy_ma& ma) {
  return std::tie(ma.md, ma.association.name_format, ma.association.vlan_list,
                  ma.association.ccm_interval, ma.association.mep_ids, ma.fixed_word_1,
                  ma.fixed_word_2, ma.meps);
}

auto All(const hierarchy_md& md) {
  return std::tie(md.name_format, md.level, md.fixed_word_1, md.fixed_word_2, md.mas);
}

}  // namespace

bool operator==(const hierarchy_mep& left, const hierarchy_mep& right) {
  return All(left) == All(right);
}
bool operator==(const hierarchy_ma& left, const hierarchy_ma& right) {
  return All(left) == All(right);
}
bool operator==(const hierarchy_md& left, const hierarchy_md& right) {
  return All(left) == All(right);
}

}  // namespace cfm
