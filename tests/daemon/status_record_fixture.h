// A status handler and what it writes of the records of single MEPs.
#ifndef CFM_TESTS_DAEMON_STATUS_RECORD_FIXTURE_H
#define CFM_TESTS_DAEMON_STATUS_RECORD_FIXTURE_H

#include <string>
#include <vector>

#include "daemon/status_fixture.h"

namespace test {

inline std::string Local(long long key, const std::string& leaf) {
  return "/status/oam/cfm/local{" + std::to_string(key) + "}/" + leaf;
}
inline std::string Remote(long long key, const std::string& leaf) {
  return "/status/oam/cfm/remote{" + std::to_string(key) + "}/" + leaf;
}

// The writes of LocalStatus() for MEP 5 of MA "x" of MD "A".
inline std::vector<std::string> LocalWrites(long long key) {
  const std::string set = "cdb_set_elem 40 ";
  return {
      set + Local(key, "md C_STR(A)"),
      set + Local(key, "ma C_STR(x)"),
      set + Local(key, "mep C_INT32(5)"),
      set + Local(key, "mac-address C_STR(00:1a:2b:3c:4d:5e)"),
      set + Local(key, "tx-rdi C_ENUM_VALUE(1)"),
      set + Local(key, "defects C_STR(ARX)"),
      set + Local(key, "highest-priority-defect C_STR(X)"),
      set + Local(key, "tx-interface-status-tlv C_ENUM_VALUE(0)"),
      set + Local(key, "tx-port-status-tlv C_ENUM_VALUE(1)"),
      set + Local(key, "block-state C_STR(Forwarding)"),
  };
}

// The writes of RemoteStatus() for remote MEP 7, seen by MEP 5.
inline std::vector<std::string> RemoteWrites(long long key) {
  const std::string set = "cdb_set_elem 40 ";
  return {
      set + Remote(key, "md C_STR(A)"),
      set + Remote(key, "ma C_STR(x)"),
      set + Remote(key, "local-mep C_INT32(5)"),
      set + Remote(key, "remote-mep C_INT32(7)"),
      set + Remote(key, "mac-address C_STR(ff:fe:00:01:80:7f)"),
      set + Remote(key, "rx-rdi C_ENUM_VALUE(0)"),
      set + Remote(key, "rx-interface-status-tlv C_ENUM_VALUE(1)"),
      set + Remote(key, "rx-port-status-tlv C_ENUM_VALUE(0)"),
      set + Remote(key, "state C_ENUM_VALUE(3)"),
      set + Remote(key, "rx-sender-id C_STR(chassis 7)"),
  };
}

inline std::vector<std::string> InSession(std::vector<std::string> before,
                                          const std::vector<std::string>& writes) {
  before.insert(before.begin(), kOpen);
  before.insert(before.end(), writes.begin(), writes.end());
  before.emplace_back(kClose);
  return before;
}

class StatusRecord : public Status {
 protected:
  void UpdateLocal(int mep = 5) { status_.LocalMepUpdate("A", "x", mep, LocalStatus()); }
  void UpdateRemote(int remote_mep = 7, int local_mep = 5) {
    status_.RemoteMepUpdate("A", "x", local_mep, remote_mep, RemoteStatus());
  }

  // What a callpoint answers for the age of a record's last state change.
  std::string LastStateChange(long long key) {
    confd_trans_ctx transaction = Transaction(7);
    confd_hkeypath_t keypath =
        Keypath({Tag(cfm::tag::kLastStateChange), Int64(key), Tag(cfm::tag::kMd)});
    Happened();
    status_.GetCallpoints().back()->GetElemCallback(&transaction, &keypath);
    return Happened().at(1);
  }
  // Whose record a key is of.
  std::string MepOf(long long key) {
    confd_hkeypath_t keypath = Keypath({Tag(cfm::tag::kMepCcmsSent), Int64(key)});
    confd_trans_ctx transaction = Transaction(7);
    Happened();
    status_.GetCallpoints().front()->GetElemCallback(&transaction, &keypath);
    return Happened().front();
  }
};

}  // namespace test

#endif
