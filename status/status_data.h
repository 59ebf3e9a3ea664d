// The keys of the published status records, and what is known per key.
#ifndef CFM_STATUS_STATUS_DATA_H
#define CFM_STATUS_STATUS_DATA_H

#include <deque>
#include <map>
#include <string>

#include "cfm/mep_info.h"

class VelConfdInterface;

namespace cfm {

// Local and remote MEPs share the keys and the identities: a MEP id is unique
// among all MEPs of its MA, so a remote MEP is known by its own id, whichever
// local MEP reports it. Times are seconds of system uptime. A broken invariant
// (no key left, an unknown key) ends the process with a fatal fault.
class StatusData {
 public:
  // `confd` is where the owner keeps its connection to ConfD; it is followed
  // at every use and outlives the object.
  explicit StatusData(VelConfdInterface** confd);

  StatusData(const StatusData&) = delete;
  StatusData& operator=(const StatusData&) = delete;

  // The owner's connection as it is now; may be null.
  VelConfdInterface* GetConfdInstance();

  // Takes a key out of the pool: the one that has been free for longest.
  long long GetNextKey();
  // All 8192 keys are free again, from 0 on. The MEPs stay known.
  void ClearKeys();

  // Enters a MEP under a key. A key that it had is not returned to the pool.
  void SetMepKey(std::string md, std::string ma, int mep, long long key);
  // Throws std::out_of_range for a MEP that is not known.
  long long GetMepKey(std::string md, std::string ma, int mep);
  bool MepExists(const std::string& md, const std::string& ma, int mep);
  // Forgets a MEP and returns `key` to the pool, even when the MA has no such
  // MEP: the caller asks MepExists first, or a key is handed out twice. Throws
  // std::out_of_range, and changes nothing, when MD or MA is not known.
  void ClearMepKey(std::string md, std::string ma, int mep, long long key);
  // Forgets all MEPs and frees all keys. The last changes stay.
  void ClearMeps();

  // Identity of the MEP that holds a key.
  void SetMepInfo(long long key, MepInfo info);
  MepInfo GetMepInfo(long long key);
  void RemoveMepInfo(long long key);

  // Last change of the MEP's state. It outlives the record, until another
  // remote MEP gets the key.
  void SetLastChange(long long key, unsigned long long time);
  // Its age as SecondsToString shows it. An age below 0 wraps to a huge one.
  std::string GetLastChange(long long key);

  // 3725 is "1h 2min 5s ago"; units that count 0 are left out.
  std::string SecondsToString(unsigned long long seconds);

 private:
  using Meps = std::map<int, long long>;
  using Mas = std::map<std::string, Meps>;

  std::map<long long, MepInfo> mep_infos_;
  std::map<long long, unsigned long long> last_changes_;
  std::deque<long long> free_keys_;
  std::map<std::string, Mas> keys_;  // by MD; no map in it is empty
  VelConfdInterface** confd_;
};

}  // namespace cfm

#endif
