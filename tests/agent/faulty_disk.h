// A disk that fails when it is told to: SQLite's own file system with faults
// put in between. The default of the process while the object lives; files
// that it opened outlive it only until they are closed.
#ifndef TESTS_AGENT_FAULTY_DISK_H
#define TESTS_AGENT_FAULTY_DISK_H

#include <sqlite3.h>

namespace agentd::test {

class FaultyDisk {
 public:
  FaultyDisk();
  ~FaultyDisk();
  FaultyDisk(const FaultyDisk&) = delete;
  FaultyDisk& operator=(const FaultyDisk&) = delete;

  // Result of every write, or sync, from now on; SQLITE_OK lets them through.
  void FailWrites(int result);
  void FailSyncs(int result);
};

}  // namespace agentd::test

#endif
