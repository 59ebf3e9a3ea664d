// The configuration leaves of an MA and a MEP: how each is recognised in a
// commit, where the initial load reads it, what it says when that fails, and
// which setter takes it.
#ifndef CFM_CONFIG_LEAVES_H
#define CFM_CONFIG_LEAVES_H

#include <cstdint>
#include <string>

#include "cfm/model_tags.h"
#include "config/config.h"

namespace cfm {

// Paths and messages are formats of the MD and MA names; the messages' last
// argument is the CDB's error text.
struct MaLeaf {
  tag::Tag tag;
  void (Config::*set)(const std::string& md, const std::string& ma, confd_value* val);
  const char* path;
  const char* load_error;
};

struct MaLeafList {
  tag::Tag tag;
  void (Config::*add_or_remove)(const std::string& md, const std::string& ma, confd_value* val,
                                bool add);
  const char* path;
  const char* load_error;
};

// As above, with the MEP id as a third argument. cci-enabled holds no value, its
// existence is the setting: it has no setter and no message here.
struct MepLeaf {
  tag::Tag tag;
  void (Config::*set)(const std::string& md, const std::string& ma, std::uint16_t mep,
                      confd_value* val);
  const char* path;
  const char* load_error;
};

// All in the order in which the initial load reads them.
inline constexpr MaLeaf kMaLeaves[] = {
    {tag::kCcmInterval, &Config::SetMaCcmInterval, "/config/oam/cfm/md{%s}/ma{%s}/ccm-interval",
     "Error loading initial config of MD '%s' MA '%s' ccm-interval: %s"},
    {tag::kPrimaryVlanId, &Config::SetMaPrimaryVlanId,
     "/config/oam/cfm/md{%s}/ma{%s}/primary-vlan-id",
     "Error loading initial config of MD '%s' MA '%s' primary-vlan-id: %s"},
};

inline constexpr MaLeafList kMaLeafLists[] = {
    {tag::kVlanList, &Config::AddOrRemoveMaVlanList, "/config/oam/cfm/md{%s}/ma{%s}/vlan-list",
     "Error loading initial config of MD '%s' MA '%s' vlan-list: %s"},
    {tag::kRemoteMeps, &Config::AddOrRemoveMaRemoteMeps,
     "/config/oam/cfm/md{%s}/ma{%s}/remote-meps",
     "Error loading initial config of MD '%s' MA '%s' remote-meps: %s"},
};

inline constexpr MepLeaf kMepLeaves[] = {
    {tag::kInterface, &Config::SetMepInterface, "/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/interface",
     "Error loading initial config of MD '%s' MA '%s' MEP '%d' interface: %s"},
    {tag::kDirection, &Config::SetMepDirection, "/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/direction",
     "Error loading initial config of MD '%s' MA '%s' MEP '%d' direction: %s"},
    {tag::kPrimaryVlanId, &Config::SetMepPrimaryVlanId,
     "/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/primary-vlan-id",
     "Error loading initial config of MD '%s' MA '%s' MEP '%d' primary-vlan-id: %s"},
    {tag::kCciEnabled, nullptr,
     "/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/continuity-check/cci-enabled", nullptr},
    {tag::kLowestFaultPriorityDefect, &Config::SetMepLowestFaultPriorityDefect,
     "/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/continuity-check/lowest-fault-priority-defect",
     "Error loading initial config of MD '%s' MA '%s' MEP '%d' cci/lowest-fault-priority-defect: "
     "%s"},
    {tag::kFaultAlarmTime, &Config::SetMepFngAlarmTime,
     "/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/continuity-check/fault-alarm-time",
     "Error loading initial config of MD '%s' MA '%s' MEP '%d' cci/fault-alarm-time: %s"},
    {tag::kFaultResetTime, &Config::SetMepFngResetTime,
     "/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/continuity-check/fault-reset-time",
     "Error loading initial config of MD '%s' MA '%s' MEP '%d' cci/fault-reset-time: %s"},
    {tag::kFaultAction, &Config::SetMepFaultAction,
     "/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/continuity-check/fault-action",
     "Error loading initial config of MD '%s' MA '%s' MEP '%d' fault-action: %s"},
};

}  // namespace cfm

#endif
