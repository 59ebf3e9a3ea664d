// A data callpoint of the status leaves that are computed when they are read.
#ifndef CFM_STATUS_STATUS_CALLPOINT_H
#define CFM_STATUS_STATUS_CALLPOINT_H

#include <string>
#include <vector>

#include "velconfd/handlers.h"

struct zlog_category_s;

namespace cfm {

class StatusData;

// There is one object per callpoint. All are the same but for their names:
// each answers whatever leaf it is asked for, recognised by its tag. The
// configuration that a record echoes is read from the running datastore, for
// records of the local list; records of the remote list have but the age of
// their last state change.
//
// The data model asks for a leaf only while it is configured: one that cannot
// be read ends the process with a fatal fault.
class StatusCallpoint : public velconfd::DataHandler::Callpoint {
 public:
  // The key store and the category are borrowed and outlive the object.
  StatusCallpoint(std::string name, StatusData* status_data, zlog_category_s* log);
  ~StatusCallpoint() override;

  // One step through a leaf-list of the record's MA. The values are those of
  // the first step (-1); the cursor is the index of the next one. Throws
  // std::out_of_range for a cursor below -1, which ConfD does not have.
  int GetNextCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath, long next) override;
  int GetElemCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath) override;
  const char* GetCallpoint() override;

 private:
  struct ListLeaf;
  static const ListLeaf kListLeaves[];

  std::string name_;
  StatusData* status_data_;
  zlog_category_s* log_;
  std::vector<int> vlan_list_;
  std::vector<int> remote_meps_;
};

}  // namespace cfm

#endif
