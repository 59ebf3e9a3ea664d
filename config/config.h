// The configuration handler: mirrors the CFM configuration of the running
// datastore in memory and hands the whole of it to the CFM manager after the
// initial load and after every commit.
//
// Loading and commits go through the same creations and setters. The mirror
// trusts the data model: a value that the model cannot yield ends the process
// with a fatal fault, a value of another type with an assertion.
#ifndef CFM_CONFIG_CONFIG_H
#define CFM_CONFIG_CONFIG_H

#include <confd_cdb.h>
#include <confd_lib.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "cfm/client.h"
#include "cfm/hierarchy.h"
#include "cfm/model_tags.h"
#include "velconfd/handlers.h"
#include "velconfd/subscription_point.h"

struct zlog_category_s;

namespace cfm {

class Config : public velconfd::ConfigHandler {
 public:
  // Both are borrowed and outlive the handler.
  Config(zlog_category_s* log, Client* client);
  ~Config() override;

  // What the framework calls.
  void LoadInitialConfig(int cdb_socket) override;
  int ApplyInitialConfig() override;
  void StartCommit() override;
  int ApplyCommitConfig() override;
  const std::vector<velconfd::SubscriptionPoint>& GetSubscriptionPoints() const override;

  // One changed node of a commit, each for one of the subscription points. The
  // result tells whether the nodes below are of interest.
  confd_iter_ret MaintenanceDomain(confd_hkeypath* kp, confd_iter_op op, confd_value* old_value,
                                   confd_value* new_value);
  confd_iter_ret MaintenanceAssociation(confd_hkeypath* kp, confd_iter_op op,
                                        confd_value* old_value, confd_value* new_value);
  confd_iter_ret MaintenanceEndPoint(confd_hkeypath* kp, confd_iter_op op, confd_value* old_value,
                                     confd_value* new_value);

  // The leaves of one list entry. A leaf that cannot be read is logged and
  // skipped.
  void LoadMaintenanceDomain(int cdb_socket, const char* md);
  void LoadMaintenanceAssociation(int cdb_socket, const char* md, const char* ma);
  void LoadMaintenanceEndPoint(int cdb_socket, const char* md, const char* ma, std::uint16_t mep);

  // List entries by their key. An entry that exists is kept as it is; one that does not is no error
  // to destroy. A missing MD or MA on the way is inserted with all fields zero.
  void CreateMd(confd_value* val);
  void DestroyMd(confd_value* val);
  void CreateMa(const std::string& md, confd_value* val);
  void DestroyMa(const std::string& md, confd_value* val);
  void CreateMep(const std::string& md, const std::string& ma, confd_value* val);
  void DestroyMep(const std::string& md, const std::string& ma, confd_value* val);

  // One leaf each. A missing MD, MA or MEP is inserted with all fields zero,
  // not with the values of a created one. 16-bit fields take the low 16 bits.
  void SetMdLevel(const std::string& md, confd_value* val);
  void SetMaCcmInterval(const std::string& md, const std::string& ma, confd_value* val);
  void SetMaPrimaryVlanId(const std::string& md, const std::string& ma, confd_value* val);
  // Elements of leaf-lists. A VLAN id that is added twice is there twice.
  void AddOrRemoveMaVlanList(const std::string& md, const std::string& ma, confd_value* val,
                             bool add);
  void AddOrRemoveMaRemoteMeps(const std::string& md, const std::string& ma, confd_value* val,
                               bool add);
  void SetMepInterface(const std::string& md, const std::string& ma, std::uint16_t mep,
                       confd_value* val);
  void SetMepDirection(const std::string& md, const std::string& ma, std::uint16_t mep,
                       confd_value* val);
  void SetMepPrimaryVlanId(const std::string& md, const std::string& ma, std::uint16_t mep,
                           confd_value* val);
  void RemoveMepPrimaryVlanId(const std::string& md, const std::string& ma, std::uint16_t mep);
  void SetMepCciEnabled(const std::string& md, const std::string& ma, std::uint16_t mep,
                        bool enabled);
  void SetMepLowestFaultPriorityDefect(const std::string& md, const std::string& ma,
                                       std::uint16_t mep, confd_value* val);
  void SetMepFngAlarmTime(const std::string& md, const std::string& ma, std::uint16_t mep,
                          confd_value* val);
  void SetMepFngResetTime(const std::string& md, const std::string& ma, std::uint16_t mep,
                          confd_value* val);
  void SetMepFaultAction(const std::string& md, const std::string& ma, std::uint16_t mep,
                         confd_value* val);
  // All of continuity-check back to the values of a created MEP.
  void ResetContinuityCheck(const std::string& md, const std::string& ma, std::uint16_t mep);

 private:
  hierarchy_ma& Ma(const std::string& md, const std::string& ma);
  hierarchy_mep& Mep(const std::string& md, const std::string& ma, std::uint16_t mep);
  confd_iter_ret ChangeMepLeaf(const std::string& md, const std::string& ma, std::uint16_t mep,
                               tag::Tag leaf, confd_iter_op op, confd_value* new_value);

  std::vector<velconfd::SubscriptionPoint> subscription_points_;
  zlog_category_s* log_;
  Client* client_;
  Hierarchy domains_;
  // Primary VLAN id by MD and MA: the MA carries it as the first element of
  // its VLAN list, and only from ApplyCommitConfig on.
  std::map<std::string, std::map<std::string, std::uint16_t>> association_index_;
};

}  // namespace cfm

#endif
