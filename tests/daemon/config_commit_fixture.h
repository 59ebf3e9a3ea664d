// A configuration handler in a commit: changed nodes, as the framework tells
// them.
#ifndef CFM_TESTS_DAEMON_CONFIG_COMMIT_FIXTURE_H
#define CFM_TESTS_DAEMON_CONFIG_COMMIT_FIXTURE_H

#include "daemon/config_fixture.h"

namespace test {

namespace tag = cfm::tag;

inline constexpr confd_iter_op kEveryOp[] = {MOP_CREATED, MOP_DELETED, MOP_MODIFIED, MOP_VALUE_SET};

class ConfigCommit : public Config {
 protected:
  using Callback = confd_iter_ret (cfm::Config::*)(confd_hkeypath*, confd_iter_op, confd_value*,
                                                   confd_value*);

  confd_iter_ret Call(Callback callback, confd_hkeypath_t path, confd_iter_op op) {
    return (config_.get()->*callback)(&path, op, nullptr, nullptr);
  }
  confd_iter_ret Call(Callback callback, confd_hkeypath_t path, confd_iter_op op,
                      confd_value_t value) {
    return (config_.get()->*callback)(&path, op, nullptr, &value);
  }

  // Changes of the entries themselves.
  confd_iter_ret Md(confd_iter_op op, confd_value_t md = Buf("east")) {
    return Call(&cfm::Config::MaintenanceDomain, Keypath({md, Tag(tag::kMd)}), op);
  }
  confd_iter_ret Ma(confd_iter_op op, confd_value_t ma = Buf("blue")) {
    return Call(&cfm::Config::MaintenanceAssociation,
                Keypath({ma, Tag(tag::kMa), Buf("east"), Tag(tag::kMd)}), op);
  }
  confd_iter_ret Mep(confd_iter_op op, confd_value_t mep = Int32(5)) {
    return Call(
        &cfm::Config::MaintenanceEndPoint,
        Keypath({mep, Tag(tag::kMep), Buf("blue"), Tag(tag::kMa), Buf("east"), Tag(tag::kMd)}), op);
  }

  // Changes of leaves below MD east, its MA blue, and MEP 5 of that.
  static confd_hkeypath_t MdLeaf(tag::Tag leaf) {
    return Keypath({Tag(leaf), Buf("east"), Tag(tag::kMd)});
  }
  static confd_hkeypath_t MaLeaf(tag::Tag leaf) {
    return Keypath({Tag(leaf), Buf("blue"), Tag(tag::kMa), Buf("east"), Tag(tag::kMd)});
  }
  static confd_hkeypath_t MaElement(tag::Tag leaf_list, int element) {
    return Keypath(
        {Int32(element), Tag(leaf_list), Buf("blue"), Tag(tag::kMa), Buf("east"), Tag(tag::kMd)});
  }
  static confd_hkeypath_t MepLeaf(tag::Tag leaf) {
    return Keypath({Tag(leaf), Int32(5), Tag(tag::kMep), Buf("blue"), Tag(tag::kMa), Buf("east"),
                    Tag(tag::kMd)});
  }
  static confd_hkeypath_t ContinuityLeaf(tag::Tag leaf) {
    return Keypath({Tag(leaf), Tag(tag::kContinuityCheck), Int32(5), Tag(tag::kMep), Buf("blue"),
                    Tag(tag::kMa), Buf("east"), Tag(tag::kMd)});
  }
};

}  // namespace test

#endif
