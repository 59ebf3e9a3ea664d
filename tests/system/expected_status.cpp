#include "expected_status.h"

#include <algorithm>

namespace test {
namespace {

std::vector<std::string> Texts(const std::set<int>& numbers) {
  std::vector<std::string> texts;
  for (const int number : numbers) {
    texts.push_back(std::to_string(number));
  }
  std::ranges::sort(texts);
  return texts;
}

// The defaults are those of the model.
std::string FaultTime(const Mep& mep, std::optional<int> ContinuityCheck::*time, int otherwise) {
  if (!mep.continuity_check) {
    return "-";
  }
  return std::to_string(((*mep.continuity_check).*time).value_or(otherwise)) + "ms";
}

Leaves LocalLeaves(const Md& md, const Ma& ma, const Mep& mep) {
  Leaves leaves = {
      {"level", {std::to_string(md.level)}},
      {"ccm-interval", {ma.ccm_interval}},
      {"primary-vlan-id", {std::to_string(mep.primary_vlan_id.value_or(ma.primary_vlan_id))}},
      {"direction", {mep.direction}},
      {"interface", {mep.interface}},
      {"fault-alarm-time", {FaultTime(mep, &ContinuityCheck::fault_alarm_time, 2500)}},
      {"fault-reset-time", {FaultTime(mep, &ContinuityCheck::fault_reset_time, 10000)}},
      {"vlan-list", Texts(ma.vlan_list)},
  };
  if (!ma.remote_meps.empty()) {
    leaves["remote-mep-ids"] = Texts(ma.remote_meps);
  }
  return leaves;
}

}  // namespace

ExpectedStatus ExpectedStatusOf(const Configuration& configuration) {
  ExpectedStatus expected;
  for (const auto& [md_name, md] : configuration) {
    for (const auto& [ma_name, ma] : md.mas) {
      for (const auto& [id, mep] : ma.meps) {
        const RecordIdentity identity{"local", md_name, ma_name, id};
        expected.configured[identity] = LocalLeaves(md, ma, mep);
        expected.published.insert(identity);
      }
      for (const int id : ma.remote_meps) {
        const RecordIdentity identity{"remote", md_name, ma_name, id};
        expected.configured[identity] = {};
        if (!ma.meps.empty()) {
          expected.published.insert(identity);
        }
      }
    }
  }
  return expected;
}

void ConfigurationHistory::Submit(const Configuration& configuration) {
  versions_.push_back(std::make_unique<ExpectedStatus>(ExpectedStatusOf(configuration)));
}

bool ConfigurationHistory::WasConfigured(const RecordIdentity& identity, const Span& span) const {
  for (std::size_t version = span.first; version <= span.last; ++version) {
    if (At(version).configured.contains(identity)) {
      return true;
    }
  }
  return false;
}

}  // namespace test
