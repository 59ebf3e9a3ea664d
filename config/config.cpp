#include "config/config.h"

#include <limid.h>

#include <algorithm>
#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <set>
#include <stdexcept>
#include <unordered_map>

#include "app/fault.h"
#include "app/log.h"
#include "cfm/model_tags.h"
#include "config/keypath.h"
#include "config/leaves.h"

#ifdef NDEBUG
#error "The assertions of the configuration handler are part of what it does"
#endif

namespace cfm {
namespace {

static_assert(kSearchedElements <= MAXDEPTH);

// What a node that is created on purpose starts with. The fixed values are the
// CFM manager's and never change.
constexpr std::uint32_t kMdNameFormatCharacterString = 4;  // IEEE 802.1Q table 21-19
constexpr std::uint32_t kMaNameFormatCharacterString = 2;  // IEEE 802.1Q table 21-20
constexpr std::uint32_t kFixedWord = 1;
constexpr std::uint8_t kFixedByte1 = 1;
constexpr std::uint8_t kFixedByte2 = 7;
constexpr std::uint16_t kDefaultFaultAlarmTime = 2500;   // ms, IEEE 802.1Q clause 20.35.3
constexpr std::uint16_t kDefaultFaultResetTime = 10000;  // ms, IEEE 802.1Q clause 20.35.4

void SetContinuityCheckDefaults(hierarchy_mep& mep) {
  mep.cci_enabled = false;
  mep.lowest_fault_priority_defect = Defects::kMacRemErrXcon;
  mep.fault_alarm_time = kDefaultFaultAlarmTime;
  mep.fault_reset_time = kDefaultFaultResetTime;
  mep.fault_action = FaultAction::kNone;
}

hierarchy_md CreatedMd() {
  hierarchy_md created;
  created.name_format = kMdNameFormatCharacterString;
  created.fixed_word_1 = kFixedWord;
  created.fixed_word_2 = kFixedWord;
  return created;
}

hierarchy_ma CreatedMa(const std::string& md) {
  hierarchy_ma created;
  created.md = md;
  created.association.name_format = kMaNameFormatCharacterString;
  created.fixed_word_1 = kFixedWord;
  created.fixed_word_2 = kFixedWord;
  return created;
}

hierarchy_mep CreatedMep(const std::string& md, const std::string& ma, std::uint16_t mep_id) {
  hierarchy_mep created;
  created.md = md;
  created.ma = ma;
  created.mep_id = mep_id;
  created.fixed_byte_1 = kFixedByte1;
  created.fixed_byte_2 = kFixedByte2;
  SetContinuityCheckDefaults(created);
  return created;
}

// The contents of a value whose type has been asserted.
std::string Text(const confd_value_t* val) {
  return {CONFD_GET_CBUFPTR(val), CONFD_GET_BUFSIZE(val)};
}

std::uint16_t Low16(const confd_value_t* val) {
  return static_cast<std::uint16_t>(CONFD_GET_INT32(val));
}

// Keypaths and values as fault messages show them.
struct KeypathText {
  explicit KeypathText(const confd_hkeypath_t* kp) { confd_pp_kpath(text, sizeof(text), kp); }
  char text[240] = {};
};

struct ValueText {
  explicit ValueText(const confd_value_t* val) { confd_pp_value(text, sizeof(text), val); }
  char text[240] = {};
};

// Name of an MD or MA as the initial load goes on with it: longer ones are cut.
struct LoadedName {
  explicit LoadedName(const confd_value_t& key) {
    std::snprintf(text, sizeof(text), "%s", CONFD_GET_CBUFPTR(&key));
  }
  char text[64] = {};
};

bool IsTag(const confd_value_t& element) {
  return element.type == C_XMLTAG;
}

// Index of the innermost element that names the list, or -1.
int FindListTag(const confd_hkeypath_t* kp, tag::Tag list) {
  for (int i = 0; i < kSearchedElements; ++i) {
    const confd_value_t& element = kp->v[i][0];
    if (IsTag(element) && CONFD_GET_XMLTAG(&element) == list) {
      return i;
    }
  }
  return -1;
}

// Tag of the node that changed: for a list entry or an element of a leaf-list
// it is that of the list, since the key or element stands in front of it.
bool GetLeafTag(const confd_hkeypath_t* kp, tag::Tag& leaf) {
  for (int i = 0; i < kSearchedElements; ++i) {
    const confd_value_t& element = kp->v[i][0];
    if (IsTag(element)) {
      leaf = CONFD_GET_XMLTAG(&element);
      return true;
    }
  }
  return false;
}

// The row of a table of leaves for a tag, or null.
template <typename Table>
auto FindLeaf(const Table& table, tag::Tag leaf) -> decltype(std::begin(table)) {
  const auto row = std::find_if(std::begin(table), std::end(table),
                                [leaf](const auto& candidate) { return candidate.tag == leaf; });
  return row == std::end(table) ? nullptr : row;
}

}  // namespace

// A list tag at index 0 has no key in front of it.
bool GetMdIdFromKp(const confd_hkeypath_t* kp, std::string& md) {
  const int i = FindListTag(kp, tag::kMd);
  if (i < 1) {
    return false;
  }
  assert((&kp->v[i - 1][0])->type == C_BUF);
  md = Text(&kp->v[i - 1][0]);
  return true;
}

bool GetMaIdFromKp(const confd_hkeypath_t* kp, std::string& ma) {
  const int i = FindListTag(kp, tag::kMa);
  if (i < 1) {
    return false;
  }
  assert((&kp->v[i - 1][0])->type == C_BUF);
  ma = Text(&kp->v[i - 1][0]);
  return true;
}

bool GetMepIdFromKp(const confd_hkeypath_t* kp, std::uint16_t& mep) {
  const int i = FindListTag(kp, tag::kMep);
  if (i < 1) {
    return false;
  }
  assert((&kp->v[i - 1][0])->type == C_INT32);
  mep = Low16(&kp->v[i - 1][0]);
  return true;
}

Config::Config(zlog_category_s* log, Client* client)
    : ConfigHandler(log), log_(log), client_(client) {
  const auto subscribe = [this](const char* path, auto callback) {
    subscription_points_.push_back({.priority = 0,
                                    .name_space = tag::kNamespace,
                                    .path = path,
                                    .subscription_id = 0,
                                    .iterate = std::bind_front(callback, this)});
  };
  subscribe("/config/oam/cfm/md/ma/mep/", &Config::MaintenanceEndPoint);
  subscribe("/config/oam/cfm/md/ma/", &Config::MaintenanceAssociation);
  subscribe("/config/oam/cfm/md/", &Config::MaintenanceDomain);
  CFM_LOG(log_, kInformational, "CFM configuration handler initialized");
}

Config::~Config() {
  CFM_LOG(log_, kInformational, "CFM configuration handler finished");
}

const std::vector<velconfd::SubscriptionPoint>& Config::GetSubscriptionPoints() const {
  return subscription_points_;
}

// Initial load. Keys are read by position, leaves by key.

void Config::LoadInitialConfig(int cdb_socket) {
  CFM_LOG(log_, kInformational, "Loading initial config");
  const int n_md = cdb_num_instances(cdb_socket, "/config/oam/cfm/md");
  for (int md_index = 0; md_index < n_md; ++md_index) {
    confd_value_t v{};
    if (cdb_get(cdb_socket, &v, "/config/oam/cfm/md[%d]/id", md_index) != CONFD_OK) {
      CFM_LOG(log_, kError, "Error loading initial config for MD index %d: %s", md_index,
              confd_lasterr());
      continue;
    }
    assert((&v)->type == C_BUF);
    const LoadedName md(v);
    CreateMd(&v);
    LoadMaintenanceDomain(cdb_socket, md.text);
    confd_free_value(&v);

    const int n_ma = cdb_num_instances(cdb_socket, "/config/oam/cfm/md[%d]/ma", md_index);
    for (int ma_index = 0; ma_index < n_ma; ++ma_index) {
      if (cdb_get(cdb_socket, &v, "/config/oam/cfm/md[%d]/ma[%d]/id", md_index, ma_index) !=
          CONFD_OK) {
        CFM_LOG(log_, kError, "Error loading initial config for MA index %d (MD '%s'): %s",
                ma_index, md.text, confd_lasterr());
        continue;
      }
      assert((&v)->type == C_BUF);
      const LoadedName ma(v);
      CreateMa(md.text, &v);
      LoadMaintenanceAssociation(cdb_socket, md.text, ma.text);
      confd_free_value(&v);

      const int n_mep =
          cdb_num_instances(cdb_socket, "/config/oam/cfm/md[%d]/ma[%d]/mep", md_index, ma_index);
      for (int mep_index = 0; mep_index < n_mep; ++mep_index) {
        if (cdb_get(cdb_socket, &v, "/config/oam/cfm/md[%d]/ma[%d]/mep[%d]/id", md_index, ma_index,
                    mep_index) != CONFD_OK) {
          CFM_LOG(log_, kError,
                  "Error loading initial config for MEP index %d (MD '%s' MA '%s'): %s", mep_index,
                  md.text, ma.text, confd_lasterr());
          continue;
        }
        assert((&v)->type == C_INT32);
        const std::uint16_t mep = Low16(&v);
        CreateMep(md.text, ma.text, &v);
        LoadMaintenanceEndPoint(cdb_socket, md.text, ma.text, mep);
      }
    }
  }
}

void Config::LoadMaintenanceDomain(int cdb_socket, const char* md) {
  confd_value_t v{};
  if (cdb_get(cdb_socket, &v, "/config/oam/cfm/md{%s}/level", md) != CONFD_OK) {
    CFM_LOG(log_, kError, "Error loading initial config of MD '%s' level: %s", md, confd_lasterr());
    return;
  }
  SetMdLevel(md, &v);
}

void Config::LoadMaintenanceAssociation(int cdb_socket, const char* md, const char* ma) {
  for (const MaLeaf& leaf : kMaLeaves) {
    confd_value_t v{};
    if (cdb_get(cdb_socket, &v, leaf.path, md, ma) == CONFD_OK) {
      (this->*leaf.set)(md, ma, &v);
    } else {
      CFM_LOG(log_, kError, leaf.load_error, md, ma, confd_lasterr());
    }
  }
  for (const MaLeafList& leaf_list : kMaLeafLists) {
    confd_value_t* values = nullptr;
    int count = 0;
    if (cdb_get_list(cdb_socket, &values, &count, leaf_list.path, md, ma) != CONFD_OK) {
      CFM_LOG(log_, kError, leaf_list.load_error, md, ma, confd_lasterr());
      continue;
    }
    for (int i = 0; i < count; ++i) {
      (this->*leaf_list.add_or_remove)(md, ma, &values[i], true);
      confd_free_value(&values[i]);
    }
    std::free(values);
  }
}

void Config::LoadMaintenanceEndPoint(int cdb_socket, const char* md, const char* ma,
                                     std::uint16_t mep) {
  for (const MepLeaf& leaf : kMepLeaves) {
    if (leaf.tag == tag::kCciEnabled) {
      // Anything but "it is not there" turns continuity checks on, an error
      // included: a MEP that falls silent raises alarms all over the network.
      SetMepCciEnabled(md, ma, mep, cdb_exists(cdb_socket, leaf.path, md, ma, int{mep}) != 0);
      continue;
    }
    confd_value_t v{};
    if (cdb_get(cdb_socket, &v, leaf.path, md, ma, int{mep}) != CONFD_OK) {
      CFM_LOG(log_, kError, leaf.load_error, md, ma, int{mep}, confd_lasterr());
      continue;
    }
    (this->*leaf.set)(md, ma, mep, &v);
    if (v.type == C_BUF) {
      confd_free_value(&v);
    }
  }
}

// Commits.

// The callbacks of a commit only change the mirror.
void Config::StartCommit() {}

confd_iter_ret Config::MaintenanceDomain(confd_hkeypath* kp, confd_iter_op op,
                                         confd_value* /*old_value*/, confd_value* new_value) {
  const KeypathText path(kp);
  tag::Tag leaf = 0;
  if (!GetLeafTag(kp, leaf)) {
    CFM_FATAL_FAULT("Can not get XML Tag from keypath: %s", path.text);
  }
  if (leaf == tag::kMd) {
    if (op == MOP_CREATED) {
      CreateMd(&kp->v[0][0]);
    } else if (op == MOP_DELETED) {
      DestroyMd(&kp->v[0][0]);
    }
    return ITER_RECURSE;
  }
  std::string md;
  if (!GetMdIdFromKp(kp, md)) {
    CFM_FATAL_FAULT("Can not get MD ID from keypath: %s", path.text);
  }
  if (leaf != tag::kLevel) {
    return ITER_CONTINUE;
  }
  SetMdLevel(md, new_value);
  return ITER_RECURSE;
}

confd_iter_ret Config::MaintenanceAssociation(confd_hkeypath* kp, confd_iter_op op,
                                              confd_value* /*old_value*/, confd_value* new_value) {
  std::string md;
  if (!GetMdIdFromKp(kp, md)) {
    CFM_FATAL_FAULT("Can not get MD ID from keypath: %s", KeypathText(kp).text);
  }
  tag::Tag leaf = 0;
  if (!GetLeafTag(kp, leaf)) {
    CFM_FATAL_FAULT("Can not get XML Tag from keypath: %s", KeypathText(kp).text);
  }
  if (leaf == tag::kMa) {
    if (op == MOP_CREATED) {
      CreateMa(md, &kp->v[0][0]);
    } else if (op == MOP_DELETED) {
      DestroyMa(md, &kp->v[0][0]);
    }
    return ITER_RECURSE;
  }
  std::string ma;
  if (!GetMaIdFromKp(kp, ma)) {
    CFM_FATAL_FAULT("Can not get MA ID from keypath: %s", KeypathText(kp).text);
  }
  if (const MaLeafList* leaf_list = FindLeaf(kMaLeafLists, leaf)) {
    (this->*leaf_list->add_or_remove)(md, ma, &kp->v[0][0], op == MOP_CREATED);
    return ITER_RECURSE;
  }
  if (const MaLeaf* value_leaf = FindLeaf(kMaLeaves, leaf)) {
    (this->*value_leaf->set)(md, ma, new_value);
    return ITER_RECURSE;
  }
  return ITER_CONTINUE;
}

confd_iter_ret Config::MaintenanceEndPoint(confd_hkeypath* kp, confd_iter_op op,
                                           confd_value* /*old_value*/, confd_value* new_value) {
  std::string md;
  if (!GetMdIdFromKp(kp, md)) {
    CFM_FATAL_FAULT("Can not get MD ID from keypath: %s", KeypathText(kp).text);
  }
  std::string ma;
  if (!GetMaIdFromKp(kp, ma)) {
    CFM_FATAL_FAULT("Can not get MA ID from keypath: %s", KeypathText(kp).text);
  }
  tag::Tag leaf = 0;
  if (!GetLeafTag(kp, leaf)) {
    CFM_FATAL_FAULT("Can not get XML Tag from keypath: %s", KeypathText(kp).text);
  }
  if (leaf == tag::kMep) {
    if (op == MOP_CREATED) {
      CreateMep(md, ma, &kp->v[0][0]);
    } else if (op == MOP_DELETED) {
      DestroyMep(md, ma, &kp->v[0][0]);
    }
    return ITER_RECURSE;
  }
  std::uint16_t mep = 0;
  if (!GetMepIdFromKp(kp, mep)) {
    CFM_FATAL_FAULT("Can not get MEP ID from keypath: %s", KeypathText(kp).text);
  }
  return ChangeMepLeaf(md, ma, mep, leaf, op, new_value);
}

confd_iter_ret Config::ChangeMepLeaf(const std::string& md, const std::string& ma,
                                     std::uint16_t mep, tag::Tag leaf, confd_iter_op op,
                                     confd_value* new_value) {
  if (leaf == tag::kContinuityCheck) {
    if (op == MOP_DELETED) {
      ResetContinuityCheck(md, ma, mep);
    }
    return ITER_RECURSE;
  }
  if (leaf == tag::kCciEnabled) {
    SetMepCciEnabled(md, ma, mep, op == MOP_CREATED);
    return ITER_RECURSE;
  }
  if (leaf == tag::kPrimaryVlanId && op == MOP_DELETED) {
    RemoveMepPrimaryVlanId(md, ma, mep);
    return ITER_RECURSE;
  }
  if (const MepLeaf* value_leaf = FindLeaf(kMepLeaves, leaf)) {
    (this->*value_leaf->set)(md, ma, mep, new_value);
    return ITER_RECURSE;
  }
  return ITER_CONTINUE;
}

void Config::CreateMd(confd_value* val) {
  assert((val)->type == C_BUF);
  domains_.try_emplace(Text(val), CreatedMd());
}

void Config::DestroyMd(confd_value* val) {
  assert((val)->type == C_BUF);
  const std::string md = Text(val);
  domains_.erase(md);
  association_index_.erase(md);
}

void Config::CreateMa(const std::string& md, confd_value* val) {
  assert((val)->type == C_BUF);
  domains_[md].mas.try_emplace(Text(val), CreatedMa(md));
}

void Config::DestroyMa(const std::string& md, confd_value* val) {
  assert((val)->type == C_BUF);
  const std::string ma = Text(val);
  domains_[md].mas.erase(ma);
  association_index_[md].erase(ma);
}

// The set of an MA's MEP ids lists local and remote ones alike.
void Config::CreateMep(const std::string& md, const std::string& ma, confd_value* val) {
  assert((val)->type == C_INT32);
  const std::uint16_t mep = Low16(val);
  hierarchy_ma& owner = Ma(md, ma);
  owner.meps.try_emplace(mep, CreatedMep(md, ma, mep));
  owner.association.mep_ids.insert(mep);
}

void Config::DestroyMep(const std::string& md, const std::string& ma, confd_value* val) {
  assert((val)->type == C_INT32);
  const std::uint16_t mep = Low16(val);
  hierarchy_ma& owner = Ma(md, ma);
  owner.meps.erase(mep);
  owner.association.mep_ids.erase(mep);
}

// Setters.

// Missing nodes are inserted on the way, all fields zero.
hierarchy_ma& Config::Ma(const std::string& md, const std::string& ma) {
  return domains_[md].mas[ma];
}

hierarchy_mep& Config::Mep(const std::string& md, const std::string& ma, std::uint16_t mep) {
  return Ma(md, ma).meps[mep];
}

void Config::SetMdLevel(const std::string& md, confd_value* val) {
  assert((val)->type == C_INT32);
  domains_[md].level = CONFD_GET_INT32(val);
}

void Config::SetMaCcmInterval(const std::string& md, const std::string& ma, confd_value* val) {
  static const std::unordered_map<int, CcmInterval> kIntervals{
      {0, CcmInterval::k1s},
      {1, CcmInterval::k10s},
      {2, CcmInterval::k1min},
      {3, CcmInterval::k10min},
  };
  assert((val)->type == C_ENUM_VALUE);
  hierarchy_ma& target = Ma(md, ma);
  try {
    target.association.ccm_interval = kIntervals.at(CONFD_GET_ENUM_VALUE(val));
  } catch (const std::out_of_range&) {
    CFM_FATAL_FAULT("Unsupported CCM interval: %s", ValueText(val).text);
  }
}

void Config::SetMaPrimaryVlanId(const std::string& md, const std::string& ma, confd_value* val) {
  assert((val)->type == C_INT32);
  association_index_[md][ma] = Low16(val);
}

void Config::AddOrRemoveMaVlanList(const std::string& md, const std::string& ma, confd_value* val,
                                   bool add) {
  assert((val)->type == C_INT32);
  std::vector<std::uint16_t>& vlans = Ma(md, ma).association.vlan_list;
  const std::uint16_t vlan = Low16(val);
  if (add) {
    vlans.push_back(vlan);
    return;
  }
  const auto first = std::find(vlans.begin(), vlans.end(), vlan);
  if (first != vlans.end()) {
    vlans.erase(first);
  }
}

void Config::AddOrRemoveMaRemoteMeps(const std::string& md, const std::string& ma, confd_value* val,
                                     bool add) {
  assert((val)->type == C_INT32);
  std::set<std::uint16_t>& mep_ids = Ma(md, ma).association.mep_ids;
  if (add) {
    mep_ids.insert(Low16(val));
  } else {
    mep_ids.erase(Low16(val));
  }
}

void Config::SetMepInterface(const std::string& md, const std::string& ma, std::uint16_t mep,
                             confd_value* val) {
  assert((val)->type == C_BUF);
  hierarchy_mep& target = Mep(md, ma, mep);
  std::uint32_t limid = 0;  // stays so for a name that the service does not know
  limid_from_intfname(&limid, Text(val).c_str());
  target.logical_interface_id = limid;
}

void Config::SetMepDirection(const std::string& md, const std::string& ma, std::uint16_t mep,
                             confd_value* val) {
  static const std::unordered_map<int, MepDirection> kDirections{
      {1, MepDirection::kDown},
      {0, MepDirection::kUp},
  };
  assert((val)->type == C_ENUM_VALUE);
  hierarchy_mep& target = Mep(md, ma, mep);
  try {
    target.direction = kDirections.at(CONFD_GET_ENUM_VALUE(val));
  } catch (const std::out_of_range&) {
    CFM_FATAL_FAULT("Unsupported MEP direction: %s", ValueText(val).text);
  }
}

void Config::SetMepPrimaryVlanId(const std::string& md, const std::string& ma, std::uint16_t mep,
                                 confd_value* val) {
  assert((val)->type == C_INT32);
  Mep(md, ma, mep).primary_vlan_id = Low16(val);
}

void Config::RemoveMepPrimaryVlanId(const std::string& md, const std::string& ma,
                                    std::uint16_t mep) {
  Mep(md, ma, mep).primary_vlan_id = 0;
}

void Config::SetMepCciEnabled(const std::string& md, const std::string& ma, std::uint16_t mep,
                              bool enabled) {
  Mep(md, ma, mep).cci_enabled = enabled;
}

void Config::SetMepLowestFaultPriorityDefect(const std::string& md, const std::string& ma,
                                             std::uint16_t mep, confd_value* val) {
  static const std::unordered_map<int, Defects> kLowestDefects{
      {4, Defects::kXcon},          {3, Defects::kErrXcon}, {2, Defects::kRemErrXcon},
      {1, Defects::kMacRemErrXcon}, {0, Defects::kAllDef},
  };
  assert((val)->type == C_ENUM_VALUE);
  hierarchy_mep& target = Mep(md, ma, mep);
  try {
    target.lowest_fault_priority_defect = kLowestDefects.at(CONFD_GET_ENUM_VALUE(val));
  } catch (const std::out_of_range&) {
    CFM_FATAL_FAULT("Unsupported MEP lowest fault priority defect: %s", ValueText(val).text);
  }
}

void Config::SetMepFngAlarmTime(const std::string& md, const std::string& ma, std::uint16_t mep,
                                confd_value* val) {
  assert((val)->type == C_INT32);
  Mep(md, ma, mep).fault_alarm_time = Low16(val);
}

void Config::SetMepFngResetTime(const std::string& md, const std::string& ma, std::uint16_t mep,
                                confd_value* val) {
  assert((val)->type == C_INT32);
  Mep(md, ma, mep).fault_reset_time = Low16(val);
}

void Config::SetMepFaultAction(const std::string& md, const std::string& ma, std::uint16_t mep,
                               confd_value* val) {
  const std::unordered_map<int, FaultAction> actions{
      {0, FaultAction::kNone},
      {1, FaultAction::kBlock},
  };
  assert((val)->type == C_ENUM_VALUE);
  hierarchy_mep& target = Mep(md, ma, mep);
  try {
    target.fault_action = actions.at(CONFD_GET_ENUM_VALUE(val));
  } catch (const std::out_of_range&) {
    CFM_FATAL_FAULT("Invalid MEP fault action: %s", ValueText(val).text);
  }
}

void Config::ResetContinuityCheck(const std::string& md, const std::string& ma, std::uint16_t mep) {
  SetContinuityCheckDefaults(Mep(md, ma, mep));
}

// To the CFM manager.

int Config::ApplyInitialConfig() {
  return ApplyCommitConfig();
}

// The MA's record has no field for its primary VLAN: the first of its VLANs is
// the primary one.
int Config::ApplyCommitConfig() {
  for (auto& [md_name, md] : domains_) {
    for (auto& [ma_name, ma] : md.mas) {
      std::vector<std::uint16_t>& vlans = ma.association.vlan_list;
      const std::uint16_t primary = association_index_[md_name][ma_name];
      const auto position = std::find(vlans.begin(), vlans.end(), primary);
      if (position == vlans.end()) {
        CFM_FATAL_FAULT();
      }
      std::rotate(vlans.begin(), position, position + 1);
    }
  }
  return client_->ApplyConfiguration(domains_);
}

}  // namespace cfm
