#include "random_configuration.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <vector>

namespace test {
namespace {

using cfm::agent::Edit;
using cfm::agent::EditOperation;

// Names that hold what paths are made of must not break out of their place.
constexpr const char* kMdNames[] = {"md10", "md2", "east {west}", "it's"};
constexpr const char* kMaNames[] = {"blue", "a/b[1]", "say \"hi\"", "x"};
constexpr const char* kIntervals[] = {"1s", "10s", "1min", "10min"};
constexpr const char* kDirections[] = {"up", "down"};
constexpr const char* kDefects[] = {"all-def", "mac-rem-err-xcon", "rem-err-xcon", "err-xcon",
                                    "xcon"};
constexpr const char* kActions[] = {"none", "block"};
constexpr int kVlans[] = {1, 10, 20, 30, 4094};
constexpr int kMepIds[] = {1, 2, 5, 7, 8191};

constexpr const char* kTop = "/element-cfm:config/oam/cfm";

std::string Quoted(const std::string& text) {
  const char quote = text.find('\'') == std::string::npos ? '\'' : '"';
  return quote + text + quote;
}

std::string MdPath(const std::string& md) {
  return fmt::format("{}/md[id={}]", kTop, Quoted(md));
}
std::string MaPath(const std::string& md, const std::string& ma) {
  return fmt::format("{}/ma[id={}]", MdPath(md), Quoted(ma));
}
std::string MepPath(const std::string& md, const std::string& ma, int mep) {
  return fmt::format("{}/mep[id='{}']", MaPath(md, ma), mep);
}

// JSON ------------------------------------------------------------------------

std::string JsonString(const std::string& text) {
  std::string json = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      json += '\\';
    }
    json += c;
  }
  return json + '"';
}

template <typename Range, typename Writer>
std::string Joined(const Range& range, Writer writer) {
  std::string text;
  for (const auto& element : range) {
    text += (text.empty() ? "" : ",") + writer(element);
  }
  return text;
}

std::string Json(const ContinuityCheck& check) {
  std::vector<std::string> members;
  if (check.cci_enabled) {
    members.emplace_back(R"("cci-enabled":[null])");
  }
  if (check.lowest_fault_priority_defect) {
    members.push_back(
        fmt::format(R"("lowest-fault-priority-defect":"{}")", *check.lowest_fault_priority_defect));
  }
  if (check.fault_alarm_time) {
    members.push_back(fmt::format(R"("fault-alarm-time":{})", *check.fault_alarm_time));
  }
  if (check.fault_reset_time) {
    members.push_back(fmt::format(R"("fault-reset-time":{})", *check.fault_reset_time));
  }
  if (check.fault_action) {
    members.push_back(fmt::format(R"("fault-action":"{}")", *check.fault_action));
  }
  return "{" + Joined(members, [](const std::string& member) { return member; }) + "}";
}

std::string Json(int id, const Mep& mep) {
  std::string json = fmt::format(R"({{"id":{},"interface":"{}","direction":"{}")", id,
                                 mep.interface, mep.direction);
  if (mep.primary_vlan_id) {
    json += fmt::format(R"(,"primary-vlan-id":{})", *mep.primary_vlan_id);
  }
  if (mep.continuity_check) {
    json += R"(,"continuity-check":)" + Json(*mep.continuity_check);
  }
  return json + "}";
}

std::string Json(const std::string& name, const Ma& ma) {
  const auto number = [](int n) { return std::to_string(n); };
  return fmt::format(
      R"({{"id":{},"ccm-interval":"{}","primary-vlan-id":{},"vlan-list":[{}],"remote-meps":[{}],)"
      R"("mep":[{}]}})",
      JsonString(name), ma.ccm_interval, ma.primary_vlan_id, Joined(ma.vlan_list, number),
      Joined(ma.remote_meps, number),
      Joined(ma.meps, [](const auto& entry) { return Json(entry.first, entry.second); }));
}

std::string Json(const std::string& name, const Md& md) {
  return fmt::format(
      R"({{"id":{},"level":{},"ma":[{}]}})", JsonString(name), md.level,
      Joined(md.mas, [](const auto& entry) { return Json(entry.first, entry.second); }));
}

std::string Document(const std::string& mds) {
  return fmt::format(R"({{"element-cfm:config":{{"oam":{{"cfm":{{"md":[{}]}}}}}}}})", mds);
}

// `ma` inside its MD, whose other leaves a merge leaves alone.
std::string DocumentWithMa(const std::string& md, int level, const std::string& ma) {
  return Document(fmt::format(R"({{"id":{},"level":{},"ma":[{}]}})", JsonString(md), level, ma));
}

// Operations ------------------------------------------------------------------

void Add(Edit& edit, EditOperation::Operation operation, const std::string& path) {
  EditOperation& added = *edit.add_operations();
  added.set_operation(operation);
  added.set_path(path);
}

void Set(Edit& edit, const std::string& path, const std::string& value) {
  Add(edit, EditOperation::MERGE, path);
  edit.mutable_operations()->rbegin()->set_value(value);
}

void AddDocument(Edit& edit, EditOperation::Operation operation, const std::string& path,
                 const std::string& document) {
  Add(edit, operation, path);
  edit.mutable_operations()->rbegin()->set_document(document);
  edit.mutable_operations()->rbegin()->set_format(cfm::agent::FORMAT_JSON);
}

// Sets or removes an optional leaf.
void SetOrRemove(Edit& edit, const std::string& path, const std::optional<std::string>& value) {
  if (value) {
    Set(edit, path, *value);
  } else {
    Add(edit, EditOperation::REMOVE, path);
  }
}

std::optional<std::string> Text(const std::optional<int>& number) {
  return number ? std::optional(std::to_string(*number)) : std::nullopt;
}

// Expectation -----------------------------------------------------------------

template <typename Names>
int IndexOf(const Names& names, const std::string& name) {
  return static_cast<int>(std::find(std::begin(names), std::end(names), name) - std::begin(names));
}

cfm::hierarchy_mep ExpectedMep(const std::string& md, const std::string& ma, int id,
                               const Mep& mep) {
  const ContinuityCheck check = mep.continuity_check.value_or(ContinuityCheck{});
  cfm::hierarchy_mep expected;
  expected.md = md;
  expected.ma = ma;
  expected.mep_id = static_cast<std::uint16_t>(id);
  expected.direction = mep.direction == "up" ? cfm::MepDirection::kUp : cfm::MepDirection::kDown;
  expected.logical_interface_id =
      static_cast<std::uint32_t>(IndexOf(kInterfaces, mep.interface) + 1);
  expected.primary_vlan_id = static_cast<std::uint16_t>(mep.primary_vlan_id.value_or(0));
  expected.fixed_byte_1 = 1;
  expected.cci_enabled = check.cci_enabled;
  expected.fixed_byte_2 = 7;
  expected.lowest_fault_priority_defect = static_cast<cfm::Defects>(
      IndexOf(kDefects, check.lowest_fault_priority_defect.value_or("mac-rem-err-xcon")) + 1);
  expected.fault_alarm_time = static_cast<std::uint16_t>(check.fault_alarm_time.value_or(2500));
  expected.fault_reset_time = static_cast<std::uint16_t>(check.fault_reset_time.value_or(10000));
  expected.fault_action =
      static_cast<cfm::FaultAction>(IndexOf(kActions, check.fault_action.value_or("none")));
  return expected;
}

cfm::hierarchy_ma ExpectedMa(const std::string& md, const std::string& name, const Ma& ma) {
  cfm::hierarchy_ma expected;
  expected.md = md;
  expected.association.name_format = 2;
  expected.association.vlan_list = {static_cast<std::uint16_t>(ma.primary_vlan_id)};
  for (const int vlan : ma.vlan_list) {
    if (vlan != ma.primary_vlan_id) {
      expected.association.vlan_list.push_back(static_cast<std::uint16_t>(vlan));
    }
  }
  expected.association.ccm_interval =
      static_cast<cfm::CcmInterval>(IndexOf(kIntervals, ma.ccm_interval) + 4);
  expected.association.mep_ids.insert(ma.remote_meps.begin(), ma.remote_meps.end());
  expected.fixed_word_1 = 1;
  expected.fixed_word_2 = 1;
  for (const auto& [id, mep] : ma.meps) {
    expected.association.mep_ids.insert(static_cast<std::uint16_t>(id));
    expected.meps[static_cast<std::uint16_t>(id)] = ExpectedMep(md, name, id, mep);
  }
  return expected;
}

}  // namespace

std::string InterfaceTableText() {
  std::string text;
  int limid = 0;
  for (const char* name : kInterfaces) {
    text += fmt::format("{} {} wire /tmp/{}.wire\n", name, ++limid, name);
  }
  return text;
}

std::string DocumentOf(const Configuration& configuration) {
  return Document(
      Joined(configuration, [](const auto& entry) { return Json(entry.first, entry.second); }));
}

cfm::Hierarchy Expected(const Configuration& configuration) {
  cfm::Hierarchy hierarchy;
  for (const auto& [name, md] : configuration) {
    cfm::hierarchy_md& expected = hierarchy[name];
    expected.name_format = 4;
    expected.level = md.level;
    expected.fixed_word_1 = 1;
    expected.fixed_word_2 = 1;
    for (const auto& [ma_name, ma] : md.mas) {
      expected.mas[ma_name] = ExpectedMa(name, ma_name, ma);
    }
  }
  return hierarchy;
}

// Random choices --------------------------------------------------------------

// std::uniform_int_distribution differs between libraries; a seed is to give
// the same sequence everywhere.
int RandomConfiguration::Below(int limit) {
  return static_cast<int>(random_() % static_cast<std::uint32_t>(limit));
}

template <typename Container>
auto RandomConfiguration::Pick(Container& container) {
  return std::next(std::begin(container), Below(static_cast<int>(std::size(container))));
}

std::string RandomConfiguration::RandomMdName() {
  return *Pick(kMdNames);
}
std::string RandomConfiguration::RandomMaName() {
  return *Pick(kMaNames);
}

std::optional<RandomConfiguration::MaPlace> RandomConfiguration::SomeMa() {
  std::vector<MaPlace> places;
  for (const auto& [md_name, md] : configuration_) {
    for (const auto& [ma_name, ma] : md.mas) {
      places.push_back({md_name, ma_name});
    }
  }
  if (places.empty()) {
    return std::nullopt;
  }
  return *Pick(places);
}

Ma& RandomConfiguration::At(const MaPlace& place) {
  return configuration_.at(place.md).mas.at(place.ma);
}

ContinuityCheck RandomConfiguration::RandomContinuityCheck() {
  ContinuityCheck check;
  check.cci_enabled = OneIn(2);
  if (OneIn(2)) {
    check.lowest_fault_priority_defect = *Pick(kDefects);
  }
  if (OneIn(2)) {
    check.fault_alarm_time = 2500 + Below(4) * 2500;  // the first is the default
  }
  if (OneIn(2)) {
    check.fault_reset_time = 10000 - Below(4) * 2500;
  }
  if (OneIn(2)) {
    check.fault_action = *Pick(kActions);
  }
  return check;
}

Mep RandomConfiguration::RandomMep() {
  Mep mep;
  mep.interface = *Pick(kInterfaces);
  mep.direction = *Pick(kDirections);
  if (OneIn(3)) {
    mep.primary_vlan_id = *Pick(kVlans);
  }
  if (OneIn(2)) {
    mep.continuity_check = RandomContinuityCheck();
  }
  return mep;
}

Ma RandomConfiguration::RandomMa() {
  Ma ma;
  ma.ccm_interval = *Pick(kIntervals);
  ma.primary_vlan_id = *Pick(kVlans);
  ma.vlan_list.insert(ma.primary_vlan_id);
  for (int more = Below(3); more > 0; --more) {
    ma.vlan_list.insert(*Pick(kVlans));
  }
  for (const int id : kMepIds) {
    if (OneIn(3)) {
      ma.meps[id] = RandomMep();
    } else if (OneIn(3)) {
      ma.remote_meps.insert(id);
    }
  }
  return ma;
}

Md RandomConfiguration::RandomMd() {
  Md md;
  md.level = Below(8);
  for (int mas = Below(3); mas > 0; --mas) {
    md.mas.emplace(RandomMaName(), RandomMa());
  }
  return md;
}

// Mutations: each changes the configuration and adds the edits that do so ------

void RandomConfiguration::CreateOrDeleteMd(Edit& edit) {
  const std::string name = RandomMdName();
  if (configuration_.erase(name) != 0) {
    Add(edit, EditOperation::DELETE, MdPath(name));
    return;
  }
  const Md md = RandomMd();
  configuration_[name] = md;
  AddDocument(edit, EditOperation::MERGE, "", Document(Json(name, md)));
}

void RandomConfiguration::ChangeLevel(Edit& edit) {
  if (configuration_.empty()) {
    return;
  }
  auto& [name, md] = *Pick(configuration_);
  md.level = Below(8);
  Set(edit, MdPath(name) + "/level", std::to_string(md.level));
}

void RandomConfiguration::CreateOrDeleteMa(Edit& edit) {
  if (configuration_.empty()) {
    return;
  }
  auto& [md_name, md] = *Pick(configuration_);
  const std::string name = RandomMaName();
  if (md.mas.erase(name) != 0) {
    Add(edit, EditOperation::DELETE, MaPath(md_name, name));
    return;
  }
  const Ma ma = RandomMa();
  md.mas[name] = ma;
  AddDocument(edit, EditOperation::MERGE, "", DocumentWithMa(md_name, md.level, Json(name, ma)));
}

void RandomConfiguration::ReplaceMa(Edit& edit) {
  if (const auto place = SomeMa()) {
    At(*place) = RandomMa();
    const int level = configuration_.at(place->md).level;
    AddDocument(edit, EditOperation::REPLACE, MaPath(place->md, place->ma),
                DocumentWithMa(place->md, level, Json(place->ma, At(*place))));
  }
}

void RandomConfiguration::ReplaceMd(Edit& edit) {
  if (configuration_.empty()) {
    return;
  }
  auto& [name, md] = *Pick(configuration_);
  md = RandomMd();
  AddDocument(edit, EditOperation::REPLACE, MdPath(name), Document(Json(name, md)));
}

void RandomConfiguration::ChangeCcmInterval(Edit& edit) {
  if (const auto place = SomeMa()) {
    At(*place).ccm_interval = *Pick(kIntervals);
    Set(edit, MaPath(place->md, place->ma) + "/ccm-interval", At(*place).ccm_interval);
  }
}

void RandomConfiguration::ChangePrimaryVlan(Edit& edit) {
  if (const auto place = SomeMa()) {
    Ma& ma = At(*place);
    ma.primary_vlan_id = *Pick(kVlans);
    const std::string path = MaPath(place->md, place->ma);
    Set(edit, path + "/primary-vlan-id", std::to_string(ma.primary_vlan_id));
    if (ma.vlan_list.insert(ma.primary_vlan_id).second) {
      Set(edit, path + "/vlan-list", std::to_string(ma.primary_vlan_id));
    }
  }
}

void RandomConfiguration::ChangeVlanList(Edit& edit) {
  if (const auto place = SomeMa()) {
    Ma& ma = At(*place);
    const int vlan = *Pick(kVlans);
    const std::string path = MaPath(place->md, place->ma) + "/vlan-list";
    if (vlan == ma.primary_vlan_id) {
      return;
    }
    if (ma.vlan_list.erase(vlan) != 0) {
      Add(edit, EditOperation::DELETE, fmt::format("{}[.='{}']", path, vlan));
    } else {
      ma.vlan_list.insert(vlan);
      Set(edit, path, std::to_string(vlan));
    }
  }
}

void RandomConfiguration::ChangeRemoteMeps(Edit& edit) {
  if (const auto place = SomeMa()) {
    Ma& ma = At(*place);
    const int id = *Pick(kMepIds);
    const std::string path = MaPath(place->md, place->ma) + "/remote-meps";
    if (ma.meps.count(id) != 0) {
      return;
    }
    if (ma.remote_meps.erase(id) != 0) {
      Add(edit, EditOperation::DELETE, fmt::format("{}[.='{}']", path, id));
    } else {
      ma.remote_meps.insert(id);
      Set(edit, path, std::to_string(id));
    }
  }
}

void RandomConfiguration::CreateOrDeleteMep(Edit& edit) {
  if (const auto place = SomeMa()) {
    Ma& ma = At(*place);
    const int id = *Pick(kMepIds);
    if (ma.meps.erase(id) != 0) {
      Add(edit, EditOperation::DELETE, MepPath(place->md, place->ma, id));
    } else if (ma.remote_meps.count(id) == 0) {
      ma.meps[id] = RandomMep();
      const int level = configuration_.at(place->md).level;
      Ma only_this = ma;
      only_this.meps = {{id, ma.meps[id]}};
      AddDocument(edit, EditOperation::MERGE, "",
                  DocumentWithMa(place->md, level, Json(place->ma, only_this)));
    }
  }
}

void RandomConfiguration::MoveMepId(Edit& edit) {
  const auto place = SomeMa();
  if (!place) {
    return;
  }
  Ma& ma = At(*place);
  const std::string path = MaPath(place->md, place->ma);
  if (OneIn(2) && !ma.meps.empty()) {
    const int id = Pick(ma.meps)->first;
    ma.meps.erase(id);
    ma.remote_meps.insert(id);
    Add(edit, EditOperation::DELETE, MepPath(place->md, place->ma, id));
    Set(edit, path + "/remote-meps", std::to_string(id));
  } else if (!ma.remote_meps.empty()) {
    const int id = *Pick(ma.remote_meps);
    ma.remote_meps.erase(id);
    Mep& mep = ma.meps[id] = RandomMep();
    mep.continuity_check.reset();
    mep.primary_vlan_id.reset();
    Add(edit, EditOperation::DELETE, fmt::format("{}/remote-meps[.='{}']", path, id));
    Set(edit, MepPath(place->md, place->ma, id) + "/interface", mep.interface);
    Set(edit, MepPath(place->md, place->ma, id) + "/direction", mep.direction);
  }
}

void RandomConfiguration::ChangeMepLeaf(Edit& edit) {
  const auto place = SomeMa();
  if (!place || At(*place).meps.empty()) {
    return;
  }
  auto& [id, mep] = *Pick(At(*place).meps);
  const std::string path = MepPath(place->md, place->ma, id);
  if (OneIn(2)) {
    mep.interface = *Pick(kInterfaces);
    Set(edit, path + "/interface", mep.interface);
  } else {
    mep.direction = *Pick(kDirections);
    Set(edit, path + "/direction", mep.direction);
  }
}

void RandomConfiguration::ChangeMepVlan(Edit& edit) {
  const auto place = SomeMa();
  if (!place || At(*place).meps.empty()) {
    return;
  }
  auto& [id, mep] = *Pick(At(*place).meps);
  mep.primary_vlan_id = OneIn(2) ? std::nullopt : std::optional<int>(*Pick(kVlans));
  SetOrRemove(edit, MepPath(place->md, place->ma, id) + "/primary-vlan-id",
              Text(mep.primary_vlan_id));
}

void RandomConfiguration::ChangeContinuityCheck(Edit& edit) {
  const auto place = SomeMa();
  if (!place || At(*place).meps.empty()) {
    return;
  }
  auto& [id, mep] = *Pick(At(*place).meps);
  const std::string path = MepPath(place->md, place->ma, id) + "/continuity-check";
  if (mep.continuity_check && OneIn(4)) {
    mep.continuity_check.reset();
    Add(edit, EditOperation::DELETE, path);
    return;
  }
  const ContinuityCheck check = RandomContinuityCheck();
  mep.continuity_check = check;
  Add(edit, EditOperation::MERGE, path);
  SetOrRemove(edit, path + "/cci-enabled",
              check.cci_enabled ? std::optional<std::string>("") : std::nullopt);
  SetOrRemove(edit, path + "/lowest-fault-priority-defect", check.lowest_fault_priority_defect);
  SetOrRemove(edit, path + "/fault-alarm-time", Text(check.fault_alarm_time));
  SetOrRemove(edit, path + "/fault-reset-time", Text(check.fault_reset_time));
  SetOrRemove(edit, path + "/fault-action", check.fault_action);
}

void RandomConfiguration::Mutate(Edit& edit) {
  using Mutation = void (RandomConfiguration::*)(Edit&);
  static constexpr Mutation kMutations[] = {
      &RandomConfiguration::CreateOrDeleteMd,  &RandomConfiguration::ChangeLevel,
      &RandomConfiguration::CreateOrDeleteMa,  &RandomConfiguration::ReplaceMa,
      &RandomConfiguration::ReplaceMd,         &RandomConfiguration::ChangeCcmInterval,
      &RandomConfiguration::ChangePrimaryVlan, &RandomConfiguration::ChangeVlanList,
      &RandomConfiguration::ChangeRemoteMeps,  &RandomConfiguration::CreateOrDeleteMep,
      &RandomConfiguration::MoveMepId,         &RandomConfiguration::ChangeMepLeaf,
      &RandomConfiguration::ChangeMepVlan,     &RandomConfiguration::ChangeContinuityCheck,
  };
  (this->*kMutations[Below(static_cast<int>(std::size(kMutations)))])(edit);
}

Edit RandomConfiguration::NextCommit() {
  Edit edit;
  edit.set_target(Edit::COMMIT);
  if (configuration_.empty()) {
    CreateOrDeleteMd(edit);
  }
  for (int mutations = 1 + Below(4); mutations > 0; --mutations) {
    Mutate(edit);
  }
  return edit;
}

Edit RandomConfiguration::Clear() {
  configuration_.clear();
  Edit edit;
  edit.set_target(Edit::COMMIT);
  AddDocument(edit, EditOperation::REPLACE, "", Document(""));
  return edit;
}

}  // namespace test
