// CDB sessions for the time of one operation of a handler.
#ifndef VELCONFD_CDB_SESSION_H
#define VELCONFD_CDB_SESSION_H

#include <confd_cdb.h>

class VelConfdInterface;

// Opens a session on one datastore; the destructor ends it. The connection
// object outlives the session.
class VelConfdCdbSessionBase {
 public:
  // `confd` may be null: then there is no connection. `lock_free_reads`: the
  // session only reads, and all its reads see one state. No session keeps
  // commits waiting. Does not throw.
  VelConfdCdbSessionBase(VelConfdInterface* confd, cdb_db_type database, bool lock_free_reads);
  virtual ~VelConfdCdbSessionBase();

  VelConfdCdbSessionBase(const VelConfdCdbSessionBase&) = delete;
  VelConfdCdbSessionBase& operator=(const VelConfdCdbSessionBase&) = delete;

  // The CDB socket to make the calls on, or -1 when no session could be
  // opened.
  int Socket() const;

 private:
  VelConfdInterface* confd_;
  int socket_;
};

// Reads configuration.
class VelConfdCdbSession : public VelConfdCdbSessionBase {
 public:
  explicit VelConfdCdbSession(VelConfdInterface* confd)
      : VelConfdCdbSessionBase(confd, CDB_RUNNING, true) {}
};

// Writes and deletes operational records.
class VelConfdStatusSession : public VelConfdCdbSessionBase {
 public:
  explicit VelConfdStatusSession(VelConfdInterface* confd)
      : VelConfdCdbSessionBase(confd, CDB_OPERATIONAL, false) {}
};

#endif
