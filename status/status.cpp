#include "status/status.h"

#include <sys/sysinfo.h>

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <string>
#include <utility>

#include "app/fault.h"
#include "app/log.h"
#include "cfm/client.h"
#include "cfm/model_tags.h"
#include "status/actions.h"
#include "status/status_callpoint.h"
#include "status/status_receiver.h"
#include "velconfd/cdb_session.h"

#ifdef NDEBUG
#error "The assertions of the status and action handlers are part of what they do"
#endif

namespace cfm {
namespace {

// Seconds since the system started; 0 when nobody can tell.
std::uint64_t Uptime() {
  struct sysinfo info = {};
  return sysinfo(&info) == 0 ? static_cast<std::uint64_t>(info.uptime) : 0;
}

// The row of a table of leaves for a tag, or null.
template <typename Table>
auto FindLeaf(const Table& table, tag::Tag leaf) -> decltype(std::begin(table)) {
  const auto row = std::find_if(std::begin(table), std::end(table),
                                [leaf](const auto& candidate) { return candidate.tag == leaf; });
  return row == std::end(table) ? nullptr : row;
}

// The value of a leaf as ConfD takes it: a string, a 32-bit integer or the
// value of an enumeration.
class LeafValue {
 public:
  LeafValue() = default;
  // ConfD's value of a string points into this object.
  confd_value_t Confd() const {
    confd_value_t value = number_;
    if (value.type == C_STR) {
      CONFD_SET_STR(&value, text_.c_str());
    }
    return value;
  }

  static LeafValue Text(std::string text) {
    LeafValue leaf;
    leaf.number_.type = C_STR;
    leaf.text_ = std::move(text);
    return leaf;
  }
  static LeafValue Int32(int number) {
    LeafValue leaf;
    CONFD_SET_INT32(&leaf.number_, number);
    return leaf;
  }
  static LeafValue Enumeration(int number) {
    LeafValue leaf;
    CONFD_SET_ENUM_VALUE(&leaf.number_, number);
    return leaf;
  }

 private:
  confd_value_t number_ = {};
  std::string text_;
};

}  // namespace

// StatusReceiver

// The invalidation callback comes before those of the statistics, and is
// called at once for an invalidation that came early: stale status goes before
// anything else is delivered.
void StatusReceiver::Register(LocalStatus local_status, RemoteStatus remote_status,
                              LocalRemoved local_removed, RemoteRemoved remote_removed,
                              LocalStatistics local_statistics, RemoteStatistics remote_statistics,
                              StatisticsFinished statistics_finished,
                              StatusInvalidated status_invalidated) {
  local_status_ = std::move(local_status);
  remote_status_ = std::move(remote_status);
  local_removed_ = std::move(local_removed);
  remote_removed_ = std::move(remote_removed);
  status_invalidated_ = std::move(status_invalidated);
  if (invalidation_pending_ && status_invalidated_) {
    status_invalidated_();
    invalidation_pending_ = false;
  }
  local_statistics_ = std::move(local_statistics);
  remote_statistics_ = std::move(remote_statistics);
  statistics_finished_ = std::move(statistics_finished);
}

void StatusReceiver::Unregister() noexcept {
  local_status_ = nullptr;
  remote_status_ = nullptr;
  local_removed_ = nullptr;
  remote_removed_ = nullptr;
  status_invalidated_ = nullptr;
  local_statistics_ = nullptr;
  remote_statistics_ = nullptr;
  statistics_finished_ = nullptr;
}

void StatusReceiver::HandleStatusLocalMep(std::string md, std::string ma, unsigned short mep,
                                          const st_lmep_status& status) {
  if (local_status_) {
    local_status_(std::move(md), std::move(ma), mep, status);
  }
}

void StatusReceiver::HandleStatusRemoteMep(std::string md, std::string ma, unsigned short local_mep,
                                           unsigned short remote_mep,
                                           const st_rmep_status& status) {
  if (remote_status_) {
    remote_status_(std::move(md), std::move(ma), local_mep, remote_mep, status);
  }
}

void StatusReceiver::HandleStatisticsLocalMep(std::string md, std::string ma, unsigned short mep,
                                              const st_lmep_stats& stats) {
  if (local_statistics_) {
    local_statistics_(std::move(md), std::move(ma), mep, stats);
  }
}

void StatusReceiver::HandleStatisticsRemoteMep(std::string md, std::string ma,
                                               unsigned short local_mep, unsigned short remote_mep,
                                               const st_rmep_stats& stats) {
  if (remote_statistics_) {
    remote_statistics_(std::move(md), std::move(ma), local_mep, remote_mep, stats);
  }
}

void StatusReceiver::HandleStatisticsFinished() {
  if (statistics_finished_) {
    statistics_finished_();
  }
}

void StatusReceiver::HandleRemovedLocalMep(std::string md, std::string ma, unsigned short mep) {
  if (local_removed_) {
    local_removed_(std::move(md), std::move(ma), mep);
  }
}

void StatusReceiver::HandleRemovedRemoteMep(std::string md, std::string ma,
                                            unsigned short local_mep, unsigned short remote_mep) {
  if (remote_removed_) {
    remote_removed_(std::move(md), std::move(ma), local_mep, remote_mep);
  }
}

void StatusReceiver::HandleStatusInvalidated() {
  if (status_invalidated_) {
    status_invalidated_();
  } else {
    invalidation_pending_ = true;
  }
}

// StatusData

namespace {

constexpr long long kKeyCount = 8192;

// Units of an age, longest first. The year is that of the Gregorian calendar,
// the month a twelfth of it.
struct AgeUnit {
  unsigned long long seconds;
  const char* suffix;
};
constexpr AgeUnit kAgeUnits[] = {
    {31556952, "y "}, {2629746, "m "}, {604800, "w "}, {86400, "d "},
    {3600, "h "},     {60, "min "},    {1, "s "},
};

}  // namespace

StatusData::StatusData(VelConfdInterface** confd) : confd_(confd) {
  ClearKeys();
}

VelConfdInterface* StatusData::GetConfdInstance() {
  return *confd_;
}

long long StatusData::GetNextKey() {
  if (free_keys_.empty()) {
    CFM_FATAL_FAULT("No more keys available to create a new status entry");
  }
  const long long key = free_keys_.front();
  free_keys_.pop_front();
  return key;
}

void StatusData::ClearKeys() {
  free_keys_.resize(kKeyCount);
  std::iota(free_keys_.begin(), free_keys_.end(), 0);
}

void StatusData::SetMepKey(std::string md, std::string ma, int mep, long long key) {
  keys_[std::move(md)][std::move(ma)][mep] = key;
}

long long StatusData::GetMepKey(std::string md, std::string ma, int mep) {
  return keys_.at(md).at(ma).at(mep);
}

bool StatusData::MepExists(const std::string& md, const std::string& ma, int mep) {
  try {
    keys_.at(md).at(ma).at(mep);
    return true;
  } catch (const std::out_of_range&) {
    return false;
  }
}

void StatusData::ClearMepKey(std::string md, std::string ma, int mep, long long key) {
  keys_.at(md).at(ma).erase(mep);
  if (keys_.at(md).at(ma).empty()) {
    keys_.at(md).erase(ma);
    if (keys_.at(md).empty()) {
      keys_.erase(md);
    }
  }
  free_keys_.push_back(key);
}

void StatusData::ClearMeps() {
  ClearKeys();
  keys_.clear();
  mep_infos_.clear();
}

void StatusData::SetMepInfo(long long key, MepInfo info) {
  mep_infos_[key] = std::move(info);
}

MepInfo StatusData::GetMepInfo(long long key) {
  const auto info = mep_infos_.find(key);
  if (info == mep_infos_.end()) {
    CFM_FATAL_FAULT("Error getting local MEP info: Invalid key %lld", key);
  }
  return info->second;
}

void StatusData::RemoveMepInfo(long long key) {
  mep_infos_.erase(key);
}

void StatusData::SetLastChange(long long key, unsigned long long time) {
  last_changes_[key] = time;
}

std::string StatusData::GetLastChange(long long key) {
  const auto change = last_changes_.find(key);
  if (change == last_changes_.end()) {
    CFM_FATAL_FAULT("Error getting last change: Invalid key %lld", key);
  }
  return SecondsToString(Uptime() - change->second);
}

std::string StatusData::SecondsToString(unsigned long long seconds) {
  std::string age;
  for (const AgeUnit& unit : kAgeUnits) {
    const unsigned long long count = seconds / unit.seconds;
    seconds %= unit.seconds;
    if (count != 0) {
      age += std::to_string(count) + unit.suffix;
    }
  }
  return age + "ago";
}

// StatusCallpoint

namespace {

// A read of a leaf: an open session on the running configuration, and the
// record that the leaf is of. The MEP is empty for records of the remote list.
struct Query {
  int socket;
  long long key;
  MepInfo mep;
  StatusData* status_data;

  const char* Md() const { return mep.md.c_str(); }
  const char* Ma() const { return mep.ma.c_str(); }
};

enum class Outcome {
  kAnswered,
  kFellBack,  // the configuration could not be read, and need not be
  kFailed,
};

Outcome ReadLevel(const Query& query, LeafValue& answer) {
  std::int32_t level = 0;
  if (cdb_get_int32(query.socket, &level, "/config/oam/cfm/md{%s}/level", query.Md()) != CONFD_OK) {
    return Outcome::kFailed;
  }
  answer = LeafValue::Int32(level);
  return Outcome::kAnswered;
}

Outcome ReadCcmInterval(const Query& query, LeafValue& answer) {
  std::int32_t interval = 0;
  if (cdb_get_enum_value(query.socket, &interval, "/config/oam/cfm/md{%s}/ma{%s}/ccm-interval",
                         query.Md(), query.Ma()) != CONFD_OK) {
    return Outcome::kFailed;
  }
  answer = LeafValue::Enumeration(interval);
  return Outcome::kAnswered;
}

Outcome ReadMaPrimaryVlanId(const Query& query, LeafValue& answer) {
  std::int32_t vlan = 0;
  if (cdb_get_int32(query.socket, &vlan, "/config/oam/cfm/md{%s}/ma{%s}/primary-vlan-id",
                    query.Md(), query.Ma()) != CONFD_OK) {
    return Outcome::kFailed;
  }
  answer = LeafValue::Int32(vlan);
  return Outcome::kAnswered;
}

// The MEP's own value wins over the MA's.
Outcome ReadPrimaryVlanId(const Query& query, LeafValue& answer) {
  constexpr const char* kPath = "/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/primary-vlan-id";
  if (cdb_exists(query.socket, kPath, query.Md(), query.Ma(), query.mep.mep) == 0) {
    return ReadMaPrimaryVlanId(query, answer);
  }
  std::int32_t vlan = 0;
  if (cdb_get_int32(query.socket, &vlan, kPath, query.Md(), query.Ma(), query.mep.mep) !=
      CONFD_OK) {
    answer = LeafValue::Int32(0);
    return Outcome::kFellBack;
  }
  answer = LeafValue::Int32(vlan);
  return Outcome::kAnswered;
}

Outcome ReadDirection(const Query& query, LeafValue& answer) {
  std::int32_t direction = 0;
  if (cdb_get_enum_value(query.socket, &direction,
                         "/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/direction", query.Md(), query.Ma(),
                         query.mep.mep) != CONFD_OK) {
    return Outcome::kFailed;
  }
  answer = LeafValue::Enumeration(direction == 0 ? 0 : 1);
  return Outcome::kAnswered;
}

Outcome ReadInterface(const Query& query, LeafValue& answer) {
  char name[64] = {};
  if (cdb_get_str(query.socket, name, sizeof(name),
                  "/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/interface", query.Md(), query.Ma(),
                  query.mep.mep) != CONFD_OK) {
    return Outcome::kFailed;
  }
  answer = LeafValue::Text(name);
  return Outcome::kAnswered;
}

// `path` is that of one of the times in milliseconds below continuity-check.
Outcome ReadFaultTime(const Query& query, const char* path, LeafValue& answer) {
  if (cdb_exists(query.socket, "/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/continuity-check", query.Md(),
                 query.Ma(), query.mep.mep) == 0) {
    answer = LeafValue::Text("-");
    return Outcome::kAnswered;
  }
  std::int32_t time = 0;
  if (cdb_get_int32(query.socket, &time, path, query.Md(), query.Ma(), query.mep.mep) != CONFD_OK) {
    return Outcome::kFailed;
  }
  answer = LeafValue::Text(std::to_string(time) + "ms");
  return Outcome::kAnswered;
}

Outcome ReadFaultAlarmTime(const Query& query, LeafValue& answer) {
  return ReadFaultTime(
      query, "/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/continuity-check/fault-alarm-time", answer);
}

Outcome ReadFaultResetTime(const Query& query, LeafValue& answer) {
  return ReadFaultTime(
      query, "/config/oam/cfm/md{%s}/ma{%s}/mep{%d}/continuity-check/fault-reset-time", answer);
}

Outcome ReadLastStateChange(const Query& query, LeafValue& answer) {
  answer = LeafValue::Text(query.status_data->GetLastChange(query.key));
  return Outcome::kAnswered;
}

struct ComputedLeaf {
  tag::Tag tag;
  const char* name;
  Outcome (*read)(const Query& query, LeafValue& answer);
};
constexpr ComputedLeaf kComputedLeaves[] = {
    {tag::kLevel, "level", ReadLevel},
    {tag::kCcmInterval, "ccm-interval", ReadCcmInterval},
    {tag::kPrimaryVlanId, "primary-vlan-id", ReadPrimaryVlanId},
    {tag::kDirection, "direction", ReadDirection},
    {tag::kInterface, "interface", ReadInterface},
    {tag::kFaultAlarmTime, "fault-alarm-time", ReadFaultAlarmTime},
    {tag::kFaultResetTime, "fault-reset-time", ReadFaultResetTime},
    {tag::kLastStateChange, "last-state-change", ReadLastStateChange},
};

struct Free {
  void operator()(confd_value_t* values) const { std::free(values); }
};

// Appends the elements of a leaf-list of an MA, if it has any.
bool LoadLeafList(int socket, const MepInfo& mep, const char* name, std::vector<int>& into) {
  constexpr const char* kPath = "/config/oam/cfm/md{%s}/ma{%s}/%s";
  if (cdb_exists(socket, kPath, mep.md.c_str(), mep.ma.c_str(), name) == 0) {
    return true;
  }
  confd_value_t* array = nullptr;
  int count = 0;
  if (cdb_get_list(socket, &array, &count, kPath, mep.md.c_str(), mep.ma.c_str(), name) !=
      CONFD_OK) {
    return false;
  }
  const std::unique_ptr<confd_value_t[], Free> values(array);
  for (int i = 0; i < count; ++i) {
    assert((&(values[i]))->type == C_INT32);
    into.push_back(CONFD_GET_INT32(&values[i]));
  }
  return true;
}

}  // namespace

// The leaf-lists; `name` is the one that the configuration has.
struct StatusCallpoint::ListLeaf {
  tag::Tag tag;
  const char* name;
  std::vector<int> StatusCallpoint::*values;
};
const StatusCallpoint::ListLeaf StatusCallpoint::kListLeaves[] = {
    {tag::kVlanList, "vlan-list", &StatusCallpoint::vlan_list_},
    {tag::kStatusRemoteMeps, "remote-meps", &StatusCallpoint::remote_meps_},
};

StatusCallpoint::StatusCallpoint(std::string name, StatusData* status_data, zlog_category_s* log)
    : name_(std::move(name)), status_data_(status_data), log_(log) {}

StatusCallpoint::~StatusCallpoint() = default;

int StatusCallpoint::GetNextCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath, long next) {
  assert((&(keypath->v[0][0]))->type == C_XMLTAG);
  const ListLeaf* leaf = FindLeaf(kListLeaves, CONFD_GET_XMLTAG(&keypath->v[0][0]));
  if (leaf == nullptr) {
    char text[64] = {};
    confd_pp_value(text, sizeof(text), &keypath->v[0][0]);
    CFM_LOG(log_, kWarning, "Get next called for unexpected XML Tag of leaf %s", text);
    return CONFD_ERR;
  }
  std::vector<int>& values = this->*leaf->values;

  const auto session = std::make_unique<VelConfdCdbSession>(status_data_->GetConfdInstance());
  if (next == -1) {
    values.clear();
    assert((&(keypath->v[1][0]))->type == C_INT64);
    const MepInfo mep = status_data_->GetMepInfo(CONFD_GET_INT64(&keypath->v[1][0]));
    if (!LoadLeafList(session->Socket(), mep, leaf->name, values)) {
      CFM_FATAL_FAULT("Error to retrieve /config/oam/cfm/md{%s}/ma{%s}/%s configuration",
                      mep.md.c_str(), mep.ma.c_str(), leaf->name);
    }
    next = 0;
  }
  if (next >= static_cast<long>(values.size())) {
    confd_data_reply_next_key(tctx, nullptr, -1, -1);
  } else {
    confd_value_t key = {};
    CONFD_SET_INT32(&key, values.at(static_cast<std::size_t>(next)));
    confd_data_reply_next_key(tctx, &key, 1, next + 1);
  }
  return CONFD_OK;
}

int StatusCallpoint::GetElemCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath) {
  const auto session = std::make_unique<VelConfdCdbSession>(status_data_->GetConfdInstance());
  assert((&(keypath->v[1][0]))->type == C_INT64);
  assert((&(keypath->v[2][0]))->type == C_XMLTAG);
  Query query{session->Socket(), CONFD_GET_INT64(&keypath->v[1][0]), {}, status_data_};
  if (CONFD_GET_XMLTAG(&keypath->v[2][0]) == tag::kLocal) {
    query.mep = status_data_->GetMepInfo(query.key);
  }

  assert((&(keypath->v[0][0]))->type == C_XMLTAG);
  const ComputedLeaf* leaf = FindLeaf(kComputedLeaves, CONFD_GET_XMLTAG(&keypath->v[0][0]));
  if (leaf == nullptr) {
    char text[64] = {};
    confd_pp_value(text, sizeof(text), &keypath->v[0][0]);
    CFM_FATAL_FAULT("Unsupported Parameter: %s", text);
  }
  LeafValue answer;
  const Outcome outcome = leaf->read(query, answer);
  if (outcome == Outcome::kFailed) {
    CFM_FATAL_FAULT("Error to retrieve %s configuration", leaf->name);
  }
  if (outcome == Outcome::kFellBack) {
    CFM_LOG(log_, kWarning, "Error to retrieve %s configuration (%s)", leaf->name, confd_lasterr());
  }
  const confd_value_t value = answer.Confd();
  confd_data_reply_value(tctx, &value);
  return CONFD_OK;
}

const char* StatusCallpoint::GetCallpoint() {
  return name_.c_str();
}

// StatisticsCallpoint

namespace {

// An entry is recent in the second of uptime in which it was stored and in the
// next one.
constexpr std::uint64_t kRecentSeconds = 2;

// The leaves, each with the counter of the record that it shows.
template <typename Record>
struct StatisticsLeaf {
  tag::Tag tag;
  void (*read)(const Record& stats, confd_value_t& value);
};
constexpr StatisticsLeaf<st_lmep_stats> kLocalStatistics[] = {
    {tag::kMepCcmsSent, [](const st_lmep_stats& stats,
                           confd_value_t& value) { CONFD_SET_UINT64(&value, stats.counter1); }},
    {tag::kMepCcmsReceived, [](const st_lmep_stats& stats,
                               confd_value_t& value) { CONFD_SET_UINT64(&value, stats.counter2); }},
    {tag::kMepCcmSequenceErrors,
     [](const st_lmep_stats& stats, confd_value_t& value) {
       CONFD_SET_UINT32(&value, stats.counter3);
     }},
};
constexpr StatisticsLeaf<st_rmep_stats> kRemoteStatistics[] = {
    {tag::kRmepCcmsReceived,
     [](const st_rmep_stats& stats, confd_value_t& value) {
       CONFD_SET_UINT32(&value, stats.rmep_counter);
     }},
};

// False when the cache has no entry for the MEP.
template <typename Record, typename Cache>
bool ReadFromCache(const StatisticsLeaf<Record>& leaf, const Cache& cache, const MepInfo& mep,
                   confd_value_t& value) {
  const auto entry = cache.find(mep);
  if (entry == cache.end()) {
    return false;
  }
  leaf.read(entry->second.first, value);
  return true;
}

// Tells whose entries went, in the order of the cache.
template <typename Cache>
std::vector<MepInfo> EraseMatching(Cache& cache, const MepInfo& pattern) {
  std::vector<MepInfo> erased;
  for (auto entry = cache.begin(); entry != cache.end();) {
    if (StatisticsCallpoint::MepInfoMatches(pattern, entry->first)) {
      erased.push_back(entry->first);
      entry = cache.erase(entry);
    } else {
      ++entry;
    }
  }
  return erased;
}

// A keypath as the messages show it, longer ones cut.
struct KeypathText {
  explicit KeypathText(const confd_hkeypath_t* keypath) {
    confd_pp_kpath(text, sizeof(text), keypath);
  }
  char text[128] = {};
};

}  // namespace

StatisticsCallpoint::StatisticsCallpoint(zlog_category_s* log, Client* client,
                                         StatusData* status_data)
    : client_(client), status_data_(status_data), log_(log) {}

StatisticsCallpoint::~StatisticsCallpoint() = default;

int StatisticsCallpoint::GetNextCallback(confd_trans_ctx* /*tctx*/, confd_hkeypath_t* keypath,
                                         long /*next*/) {
  CFM_LOG(log_, kInformational, "GetNextCallback (not implemented) called to %s",
          KeypathText(keypath).text);
  return CONFD_ERR;
}

int StatisticsCallpoint::GetElemCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath) {
  assert((&keypath->v[0][0])->type == C_XMLTAG);
  assert((&keypath->v[1][0])->type == C_INT64);
  const MepInfo mep = status_data_->GetMepInfo(CONFD_GET_INT64(&keypath->v[1][0]));
  CFM_LOG(log_, kInformational, "GetElemCallback called to %s (MD %s, MA %s, MEP %d)",
          KeypathText(keypath).text, mep.md.c_str(), mep.ma.c_str(), mep.mep);
  if (!IsRecentStatisticInCache(CONFD_GET_XMLTAG(&keypath->v[0][0]), mep)) {
    CFM_LOG(log_, kInformational, "Data in cache is too old. Requesting it to CFM Manager...");
    pending_requests_.emplace_back(tctx, *keypath);
    client_->RequestStatistics();
    return CONFD_DELAYED_RESPONSE;
  }
  CFM_LOG(log_, kInformational, "Data in cache is recent");
  confd_value_t value = {};
  if (!GetConfdValueFromCache(value, keypath)) {
    CFM_LOG(log_, kError, "Error getting value from cache");
    return CONFD_ERR;
  }
  confd_data_reply_value(tctx, &value);
  return CONFD_OK;
}

const char* StatisticsCallpoint::GetCallpoint() {
  return "statistics";
}

void StatisticsCallpoint::HandleStatisticsLocalMep(std::string md, std::string ma,
                                                   unsigned short mep, const st_lmep_stats& stats) {
  const MepInfo info{std::move(md), std::move(ma), mep};
  CFM_LOG(log_, kInformational, "Local MEP statistics received (MD %s, MA %s, MEP %d)",
          info.md.c_str(), info.ma.c_str(), info.mep);
  local_cache_[info] = {stats, Uptime()};
}

void StatisticsCallpoint::HandleStatisticsRemoteMep(std::string md, std::string ma,
                                                    unsigned short /*local_mep*/,
                                                    unsigned short remote_mep,
                                                    const st_rmep_stats& stats) {
  const MepInfo info{std::move(md), std::move(ma), remote_mep};
  CFM_LOG(log_, kInformational, "Remote MEP statistics received (MD %s, MA %s, MEP %d)",
          info.md.c_str(), info.ma.c_str(), info.mep);
  remote_cache_[info] = {stats, Uptime()};
}

// A read that cannot be answered stays at the front, and holds back all behind
// it: the pairing of reads and answers is by their order alone.
void StatisticsCallpoint::HandleStatisticsFinished() {
  CFM_LOG(log_, kInformational, "End of statistics receiving");
  if (pending_requests_.empty()) {
    CFM_LOG(log_, kInformational, "Statistics received but it was not waiting for it.");
    return;
  }
  const auto& [tctx, keypath] = pending_requests_.front();
  CFM_LOG(log_, kInformational, "Queued keypath: %s", KeypathText(&keypath).text);
  confd_value_t value = {};
  if (!GetConfdValueFromCache(value, &keypath)) {
    CFM_LOG(log_, kWarning, "Error getting data from cache");
    return;
  }
  confd_data_reply_value(tctx, &value);
  pending_requests_.pop_front();
}

void StatisticsCallpoint::ClearStatisticsCache(const MepInfo& pattern) {
  CFM_LOG(log_, kInformational, "Clearing statistics from cache");
  for (const MepInfo& mep : EraseMatching(local_cache_, pattern)) {
    CFM_LOG(log_, kInformational, "Local MEP statistics cleared: MD: %s, MA: %s, MEP: %d",
            mep.md.c_str(), mep.ma.c_str(), mep.mep);
  }
  for (const MepInfo& mep : EraseMatching(remote_cache_, pattern)) {
    CFM_LOG(log_, kInformational, "Remote MEP statistics cleared: MD: %s, MA: %s, MEP: %d",
            mep.md.c_str(), mep.ma.c_str(), mep.mep);
  }
}

bool StatisticsCallpoint::IsRecentStatisticInCache(unsigned int tag, MepInfo info) {
  const std::uint64_t now = Uptime();
  if (FindLeaf(kRemoteStatistics, tag) != nullptr) {
    return now - remote_cache_[std::move(info)].second < kRecentSeconds;
  }
  if (FindLeaf(kLocalStatistics, tag) != nullptr) {
    return now - local_cache_[std::move(info)].second < kRecentSeconds;
  }
  return false;
}

bool StatisticsCallpoint::GetConfdValueFromCache(confd_value_t& value,
                                                 const confd_hkeypath_t* keypath) {
  assert((&keypath->v[1][0])->type == C_INT64);
  const MepInfo mep = status_data_->GetMepInfo(CONFD_GET_INT64(&keypath->v[1][0]));
  assert((&keypath->v[0][0])->type == C_XMLTAG);
  const tag::Tag tag = CONFD_GET_XMLTAG(&keypath->v[0][0]);
  const auto* local = FindLeaf(kLocalStatistics, tag);
  const auto* remote = FindLeaf(kRemoteStatistics, tag);
  if (local == nullptr && remote == nullptr) {
    char text[128] = {};
    confd_pp_value(text, sizeof(text), &keypath->v[0][0]);
    CFM_LOG(log_, kError, "Error: unexpected XMLTAG %s when getting value from cache", text);
    return false;
  }
  if (local != nullptr ? ReadFromCache(*local, local_cache_, mep, value)
                       : ReadFromCache(*remote, remote_cache_, mep, value)) {
    return true;
  }
  CFM_LOG(log_, kError, "Error: Cache not found (Local MD %s, MA %s, MEP %d)", mep.md.c_str(),
          mep.ma.c_str(), mep.mep);
  return false;
}

bool StatisticsCallpoint::MepInfoMatches(const MepInfo& pattern, const MepInfo& candidate) {
  return (pattern.md.empty() || pattern.md == candidate.md) &&
         (pattern.ma.empty() || pattern.ma == candidate.ma) &&
         (pattern.mep == 0 || pattern.mep == candidate.mep);
}

// Status

namespace {

// Entries of the lists as paths and as messages show them.
constexpr char kLocalEntry[] = "/status/oam/cfm/local{%x}/";
constexpr char kRemoteEntry[] = "/status/oam/cfm/remote{%x}/";

confd_value_t Key(long long key) {
  confd_value_t value = {};
  CONFD_SET_INT64(&value, key);
  return value;
}

bool CreateEntry(int socket, const char* path, long long key) {
  const confd_value_t entry = Key(key);
  return cdb_create(socket, path, &entry) == CONFD_OK;
}

bool DeleteEntry(int socket, const char* path, long long key) {
  const confd_value_t entry = Key(key);
  return cdb_delete(socket, path, &entry) == CONFD_OK;
}

bool WriteLeaf(int socket, const char* path, long long key, const LeafValue& leaf) {
  const confd_value_t entry = Key(key);
  confd_value_t value = leaf.Confd();
  return cdb_set_elem(socket, &value, path, &entry) == CONFD_OK;
}

// Letters of the defect flags, in the order of the record.
constexpr char kDefectLetters[] = {'A', 'S', 'R', 'I', 'X'};
static_assert(std::size(kDefectLetters) == kDefectCount);
constexpr const char* kNoDefect = "-";

std::string PresentDefects(const st_lmep_status& status) {
  std::string letters;
  for (int i = 0; i < kDefectCount; ++i) {
    if (status.defects[i]) {
      letters += kDefectLetters[i];
    }
  }
  return letters.empty() ? kNoDefect : letters;
}

// The record has the flags in ascending priority.
std::string HighestPriorityDefect(const st_lmep_status& status) {
  return std::string(1, PresentDefects(status).back());
}

// The leaves of a record that come out of the CFM manager's, in the order in
// which they are written. Each is converted when its turn comes: a fault comes
// between the writes.
template <typename Record>
struct StatusLeaf {
  const char* path;
  LeafValue (*convert)(const Record& status);
};
constexpr StatusLeaf<st_lmep_status> kLocalLeaves[] = {
    {"/status/oam/cfm/local{%x}/mac-address",
     [](const st_lmep_status& status) {
       return LeafValue::Text(Status::ConvertMacConfd(status.mac));
     }},
    {"/status/oam/cfm/local{%x}/tx-rdi",
     [](const st_lmep_status& status) { return LeafValue::Enumeration(status.tx_rdi); }},
    {"/status/oam/cfm/local{%x}/defects",
     [](const st_lmep_status& status) { return LeafValue::Text(PresentDefects(status)); }},
    {"/status/oam/cfm/local{%x}/highest-priority-defect",
     [](const st_lmep_status& status) { return LeafValue::Text(HighestPriorityDefect(status)); }},
    {"/status/oam/cfm/local{%x}/tx-interface-status-tlv",
     [](const st_lmep_status& status) {
       return LeafValue::Enumeration(Status::ConvertInterfaceStatus(status.tx_interface_status));
     }},
    {"/status/oam/cfm/local{%x}/tx-port-status-tlv",
     [](const st_lmep_status& status) {
       return LeafValue::Enumeration(Status::ConvertPortState(status.tx_port_status));
     }},
    {"/status/oam/cfm/local{%x}/block-state",
     [](const st_lmep_status& status) {
       return LeafValue::Text(Status::ConvertBlockState(status.block_state));
     }},
};
constexpr StatusLeaf<st_rmep_status> kRemoteLeaves[] = {
    {"/status/oam/cfm/remote{%x}/mac-address",
     [](const st_rmep_status& status) {
       return LeafValue::Text(Status::ConvertMacConfd(status.mac));
     }},
    {"/status/oam/cfm/remote{%x}/rx-rdi",
     [](const st_rmep_status& status) { return LeafValue::Enumeration(status.rx_rdi); }},
    {"/status/oam/cfm/remote{%x}/rx-interface-status-tlv",
     [](const st_rmep_status& status) {
       return LeafValue::Enumeration(Status::ConvertInterfaceStatus(status.rx_interface_status));
     }},
    {"/status/oam/cfm/remote{%x}/rx-port-status-tlv",
     [](const st_rmep_status& status) {
       return LeafValue::Enumeration(Status::ConvertPortState(status.rx_port_status));
     }},
    {"/status/oam/cfm/remote{%x}/state",
     [](const st_rmep_status& status) {
       return LeafValue::Enumeration(Status::ConvertRemoteMepState(status.state));
     }},
    {"/status/oam/cfm/remote{%x}/rx-sender-id",
     [](const st_rmep_status& status) { return LeafValue::Text(status.sender_id); }},
};

// The row of a table for an enumeration's value, or null.
template <typename Row, std::size_t Size, typename Enumeration>
const Row* FindRow(const Row (&table)[Size], Enumeration value) {
  const auto row = static_cast<std::int64_t>(value);
  return row >= 0 && row < static_cast<std::int64_t>(Size) ? &table[row] : nullptr;
}

// What an invalidation empties, in this order.
struct StatusList {
  const char* name;
  const char* path;
  const char* entry;
};
constexpr StatusList kStatusLists[] = {
    {"local", "/status/oam/cfm/local", "/status/oam/cfm/local[%d]"},
    {"remote", "/status/oam/cfm/remote", "/status/oam/cfm/remote[%d]"},
};

}  // namespace

// What the receiver remembered is replayed inside Register: ConfD is not there
// yet, so that it is put off until it is.
Status::Status(zlog_category_s* log, StatusReceiver* receiver, Client* client)
    : StatusHandler(false, false, false),
      log_(log),
      receiver_(receiver),
      statistics_callpoint_(nullptr),
      status_data_(&confd_) {
  statistics_callpoint_ = new StatisticsCallpoint(log_, client, &status_data_);
  callpoints_.push_back(statistics_callpoint_);
  receiver_->Register(
      [this](const std::string& md, const std::string& ma, int mep, const st_lmep_status& status) {
        LocalMepUpdate(md, ma, mep, status);
      },
      [this](const std::string& md, const std::string& ma, int local_mep, int remote_mep,
             const st_rmep_status& status) {
        RemoteMepUpdate(md, ma, local_mep, remote_mep, status);
      },
      [this](const std::string& md, const std::string& ma, int mep) {
        LocalMepDelete(md, ma, mep);
      },
      [this](const std::string& md, const std::string& ma, int local_mep, int remote_mep) {
        RemoteMepDelete(md, ma, local_mep, remote_mep);
      },
      [statistics = statistics_callpoint_](const std::string& md, const std::string& ma, int mep,
                                           const st_lmep_stats& stats) {
        statistics->HandleStatisticsLocalMep(md, ma, static_cast<unsigned short>(mep), stats);
      },
      [statistics = statistics_callpoint_](const std::string& md, const std::string& ma,
                                           int local_mep, int remote_mep,
                                           const st_rmep_stats& stats) {
        statistics->HandleStatisticsRemoteMep(md, ma, static_cast<unsigned short>(local_mep),
                                              static_cast<unsigned short>(remote_mep), stats);
      },
      [statistics = statistics_callpoint_] { statistics->HandleStatisticsFinished(); },
      [this] { InvalidateAllStatus(); });
  for (const std::string& id : InitCallpointIds()) {
    callpoints_.push_back(new StatusCallpoint(id, &status_data_, log_));
  }
  CFM_LOG(log_, kInformational, "Status handling initialized");
}

// The callpoints go before the key store that they use.
Status::~Status() {
  receiver_->Unregister();
  for (const velconfd::DataHandler::Callpoint* callpoint : callpoints_) {
    delete callpoint;
  }
}

void Status::ConfdConnected(ELEM_CONFD_PHASE_ET /*phase*/) {
  agent_ready_ = true;
  if (invalidation_pending_) {
    invalidation_pending_ = false;
    InvalidateAllStatus();
  }
}

void Status::ConfdDisconnected() {
  agent_ready_ = false;
}

const std::vector<velconfd::DataHandler::Callpoint*>& Status::GetCallpoints() const {
  return callpoints_;
}

StatisticsCallpoint* Status::GetStatisticsCallpoint() {
  return statistics_callpoint_;
}

void Status::LocalMepUpdate(std::string md, std::string ma, int mep, const st_lmep_status& status) {
  const auto session = std::make_unique<VelConfdStatusSession>(confd_);
  const int socket = session->Socket();
  long long key = 0;
  if (status_data_.MepExists(md, ma, mep)) {
    key = status_data_.GetMepKey(md, ma, mep);
  } else {
    key = status_data_.GetNextKey();
    if (!CreateEntry(socket, kLocalEntry, key)) {
      CFM_LOG(log_, kError, "Failed to create local MEP status entry: MD %s - MA %s - MEP %d (%s)",
              md.c_str(), ma.c_str(), mep, confd_lasterr());
      return;
    }
    CFM_LOG(log_, kInformational,
            "Local MEP (MD: %s, MA: %s, MEP: %d) status created with key: %lld", md.c_str(),
            ma.c_str(), mep, key);
    status_data_.SetMepInfo(key, {md, ma, mep});
    status_data_.SetMepKey(md, ma, mep, key);
  }

  if (!WriteLeaf(socket, "/status/oam/cfm/local{%x}/md", key, LeafValue::Text(md))) {
    CFM_LOG(log_, kWarning, "Error to set %s. md: %s key: %lld (%s)", kLocalEntry, md.c_str(), key,
            confd_lasterr());
  }
  if (!WriteLeaf(socket, "/status/oam/cfm/local{%x}/ma", key, LeafValue::Text(ma))) {
    CFM_LOG(log_, kWarning, "Error to set %s. ma: %s key: %lld (%s)", kLocalEntry, ma.c_str(), key,
            confd_lasterr());
  }
  if (!WriteLeaf(socket, "/status/oam/cfm/local{%x}/mep", key, LeafValue::Int32(mep))) {
    CFM_LOG(log_, kWarning, "Error to set %s. mep: %d key: %lld (%s)", kLocalEntry, mep, key,
            confd_lasterr());
  }
  for (const StatusLeaf<st_lmep_status>& leaf : kLocalLeaves) {
    if (!WriteLeaf(socket, leaf.path, key, leaf.convert(status))) {
      CFM_LOG(log_, kWarning, "Error to set %s. md: %s ma: %s mep: %d key: %lld (%s)", kLocalEntry,
              md.c_str(), ma.c_str(), mep, key, confd_lasterr());
    }
  }
}

void Status::RemoteMepUpdate(std::string md, std::string ma, int local_mep, int remote_mep,
                             const st_rmep_status& status) {
  const auto session = std::make_unique<VelConfdStatusSession>(confd_);
  const int socket = session->Socket();
  long long key = 0;
  if (status_data_.MepExists(md, ma, remote_mep)) {
    key = status_data_.GetMepKey(md, ma, remote_mep);
  } else {
    key = status_data_.GetNextKey();
    if (!CreateEntry(socket, kRemoteEntry, key)) {
      CFM_LOG(log_, kError,
              "Failed to create remote MEP status entry: MD %s - MA %s - Local MEP %d - Remote MEP "
              "%d",
              md.c_str(), ma.c_str(), local_mep, remote_mep);
      return;
    }
    CFM_LOG(log_, kInformational,
            "Remote MEP (MD: %s, MA: %s, Local MEP: %d, Remote MEP: %d) status created with key: "
            "%lld",
            md.c_str(), ma.c_str(), local_mep, remote_mep, key);
    status_data_.SetMepInfo(key, {md, ma, remote_mep});
    status_data_.SetMepKey(md, ma, remote_mep, key);
  }

  if (!WriteLeaf(socket, "/status/oam/cfm/remote{%x}/md", key, LeafValue::Text(md))) {
    CFM_LOG(log_, kWarning, "Error to set %s. md: %s key: %lld (%s)", kRemoteEntry, md.c_str(), key,
            confd_lasterr());
  }
  if (!WriteLeaf(socket, "/status/oam/cfm/remote{%x}/ma", key, LeafValue::Text(ma))) {
    CFM_LOG(log_, kWarning, "Error to set %s. ma: %s key: %lld (%s)", kRemoteEntry, ma.c_str(), key,
            confd_lasterr());
  }
  if (!WriteLeaf(socket, "/status/oam/cfm/remote{%x}/local-mep", key,
                 LeafValue::Int32(local_mep))) {
    CFM_LOG(log_, kWarning, "Error to set %s. local mep: %d key: %lld (%s)", kRemoteEntry,
            local_mep, key, confd_lasterr());
  }
  if (!WriteLeaf(socket, "/status/oam/cfm/remote{%x}/remote-mep", key,
                 LeafValue::Int32(remote_mep))) {
    CFM_LOG(log_, kWarning, "Error to set %s. remote mep: %d key: %lld (%s)", kRemoteEntry,
            remote_mep, key, confd_lasterr());
  }
  for (const StatusLeaf<st_rmep_status>& leaf : kRemoteLeaves) {
    if (!WriteLeaf(socket, leaf.path, key, leaf.convert(status))) {
      CFM_LOG(log_, kWarning, "Error to set %s. md: %s ma: %s lmep: %d rmep: %d key: %lld (%s)",
              kRemoteEntry, md.c_str(), ma.c_str(), local_mep, remote_mep, key, confd_lasterr());
    }
  }
  status_data_.SetLastChange(key, status.last_state_change);
}

void Status::LocalMepDelete(std::string md, std::string ma, int mep) {
  if (!status_data_.MepExists(md, ma, mep)) {
    CFM_LOG(log_, kError, "Ignoring un-existent local MEP delete (MD: %s, MA: %s, MEP: %d)",
            md.c_str(), ma.c_str(), mep);
    return;
  }
  const auto session = std::make_unique<VelConfdStatusSession>(confd_);
  const long long key = status_data_.GetMepKey(md, ma, mep);
  if (!DeleteEntry(session->Socket(), kLocalEntry, key)) {
    CFM_FATAL_FAULT("Failed to remove local MEP status (md: %s, ma: %s, mep: %d): %s", md.c_str(),
                    ma.c_str(), mep, confd_lasterr());
  }
  status_data_.RemoveMepInfo(key);
  status_data_.ClearMepKey(md, ma, mep, key);
}

void Status::RemoteMepDelete(std::string md, std::string ma, int local_mep, int remote_mep) {
  if (!status_data_.MepExists(md, ma, remote_mep)) {
    CFM_LOG(log_, kError,
            "Ignoring un-existent remote MEP delete (MD: %s, MA: %s, Local-MEP: %d, Remote-MEP: "
            "%d)",
            md.c_str(), ma.c_str(), local_mep, remote_mep);
    return;
  }
  const auto session = std::make_unique<VelConfdStatusSession>(confd_);
  const long long key = status_data_.GetMepKey(md, ma, remote_mep);
  if (!DeleteEntry(session->Socket(), kRemoteEntry, key)) {
    CFM_FATAL_FAULT(
        "Failed to remove remote MEP status (md: %s, ma: %s, local-mep: %d, remote-mep: %d): %s",
        md.c_str(), ma.c_str(), local_mep, remote_mep, confd_lasterr());
  }
  status_data_.RemoveMepInfo(key);
  status_data_.ClearMepKey(md, ma, remote_mep, key);
}

void Status::InvalidateAllStatus() {
  constexpr const char* kPutOff =
      "ConfD not ready, scheduling an InvalidateAllStatus in ConfD connection";
  if (!agent_ready_) {
    CFM_LOG(log_, kError, "%s", kPutOff);
    invalidation_pending_ = true;
    return;
  }
  const auto session = std::make_unique<VelConfdStatusSession>(confd_);
  const int socket = session->Socket();
  if (socket < 0) {
    CFM_LOG(log_, kError, "%s", kPutOff);
    invalidation_pending_ = true;
    return;
  }
  for (const StatusList& list : kStatusLists) {
    const int count = cdb_num_instances(socket, list.path);
    if (count < 1) {
      CFM_LOG(log_, kInformational, "Not found any instance to delete on %s", list.path);
    }
    // From the last one on: a deletion moves those behind it.
    for (int position = count - 1; position >= 0; --position) {
      if (cdb_delete(socket, list.entry, position) != CONFD_OK) {
        CFM_LOG(log_, kError, "Failed to remove %s status ID: %d. %s", list.name, position,
                confd_lasterr());
        return;
      }
    }
  }
  status_data_.ClearMeps();
}

std::string Status::ConvertMacConfd(const st_mac& mac) {
  char text[sizeof("00:00:00:00:00:00")] = {};
  std::snprintf(text, sizeof(text), "%02hhx:%02hhx:%02hhx:%02hhx:%02hhx:%02hhx", mac.octets[0],
                mac.octets[1], mac.octets[2], mac.octets[3], mac.octets[4], mac.octets[5]);
  return text;
}

// The data model has no value for the absence of the TLV: it reads as
// not-present.
int Status::ConvertInterfaceStatus(const InterfaceStatus& status) {
  constexpr int kValues[] = {5, 0, 1, 2, 3, 4, 5, 6};
  constexpr int kInvalid = 7;
  if (const int* value = FindRow(kValues, status)) {
    return *value;
  }
  CFM_FAULT("Unsupported Interface Status: %d", static_cast<int>(status));
  return kInvalid;
}

int Status::ConvertPortState(const PortStatus& status) {
  constexpr int kValues[] = {2, 0, 1};
  constexpr int kInvalid = 3;
  if (const int* value = FindRow(kValues, status)) {
    return *value;
  }
  CFM_FAULT("Unsupported Port State: %d", static_cast<int>(status));
  return kInvalid;
}

std::string Status::ConvertBlockState(const BlockState& state) {
  constexpr const char* kTexts[] = {"N/A", "Forwarding", "Blocked"};
  if (const char* const* text = FindRow(kTexts, state)) {
    return *text;
  }
  CFM_FAULT("Unsupported Block State: %d", static_cast<int>(state));
  return "Invalid";
}

int Status::ConvertRemoteMepState(const en_rmep_state& state) {
  switch (state) {
    case RMEP_IDLE:
    case RMEP_START:
    case RMEP_FAILED:
    case RMEP_OK:
      return state;
  }
  CFM_FATAL_FAULT("Invalid Remote MEP State %d", static_cast<int>(state));
}

std::vector<std::string> Status::InitCallpointIds() {
  return {"ccm-interval",     "direction",   "fault-alarm-time",
          "fault-reset-time", "interface",   "level",
          "primary-vlan-id",  "remote-meps", "vlan-list",
          "last-state-change"};
}

// Actions

Actions::Actions(zlog_category_s* log, Client* client, StatisticsCallpoint* statistics_callpoint)
    : ActionHandler(log), log_(log), client_(client), statistics_callpoint_(statistics_callpoint) {
  if (client_ == nullptr) {
    CFM_FATAL_FAULT();
  }
  if (statistics_callpoint_ == nullptr) {
    CFM_FATAL_FAULT();
  }
  CFM_LOG(log_, kInformational, "Actions handler initialized");
}

const char* Actions::GetActionPoint() const {
  return "clear_cfm_statistics";
}

int Actions::ActionCb(confd_user_info* /*user*/, xml_tag* /*name*/, confd_hkeypath_t* /*kp*/,
                      confd_tag_value_t* params, int nparams) {
  CFM_LOG(log_, kInformational, "Action clear statistics request received");
  const char* md = nullptr;
  const char* ma = nullptr;
  std::uint16_t mep = 0;
  for (int i = 0; i < nparams; ++i) {
    switch (params[i].tag.tag) {
      case tag::kMep:
        assert((&params[i].v)->type == C_INT32);
        mep = static_cast<std::uint16_t>(CONFD_GET_INT32(&params[i].v));
        CFM_LOG(log_, kInformational, "Parameter MEP=%d received", int{mep});
        break;
      case tag::kMd:
        assert((&params[i].v)->type == C_BUF);
        md = CONFD_GET_CBUFPTR(&params[i].v);
        CFM_LOG(log_, kInformational, "Parameter MD=%s received", md);
        break;
      case tag::kMa:
        assert((&params[i].v)->type == C_BUF);
        ma = CONFD_GET_CBUFPTR(&params[i].v);
        // Shows the MD: log tools know the record like that.
        CFM_LOG(log_, kInformational, "Parameter MA=%s received", md);
        break;
      default: {
        char text[128] = {};
        confd_pp_value(text, sizeof(text), &params[i].v);
        CFM_LOG(log_, kWarning, "Invalid XML Tag %s while handling action clear statistics.", text);
        return CONFD_ERR;
      }
    }
  }
  const auto shown = [](const char* name) { return name != nullptr ? name : "<any>"; };
  const std::string shown_mep = mep != 0 ? std::to_string(static_cast<std::int16_t>(mep)) : "<any>";
  CFM_LOG(log_, kInformational, "MEP to have the statistics cleared: MD: %s, MA: %s, MEP: %s",
          shown(md), shown(ma), shown_mep.c_str());
  client_->ClearStatistics(md, ma, mep);
  statistics_callpoint_->ClearStatisticsCache(
      {md != nullptr ? md : "", ma != nullptr ? ma : "", mep});
  CFM_LOG(log_, kInformational, "Statistics successfully cleared!");
  return CONFD_OK;
}

}  // namespace cfm
