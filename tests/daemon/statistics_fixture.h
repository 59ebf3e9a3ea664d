// A statistics callpoint on the fake platform, with three records.
#ifndef CFM_TESTS_DAEMON_STATISTICS_FIXTURE_H
#define CFM_TESTS_DAEMON_STATISTICS_FIXTURE_H

#include <memory>
#include <string>
#include <vector>

#include "daemon/death.h"
#include "daemon/fake_client.h"
#include "daemon/fake_confd.h"
#include "daemon/fake_velconfd.h"
#include "daemon/platform_test.h"
#include "daemon/values.h"
#include "status/statistics_callpoint.h"
#include "status/status_data.h"

namespace test {

namespace tag = cfm::tag;

inline constexpr tag::Tag kNoStatistics = 0x0000abcd;
inline constexpr cfm::st_lmep_stats kLocalStats = {0xfedcba9876543210, 0x8000000000000001,
                                                   0xffffffff, 4};
inline constexpr cfm::st_rmep_stats kRemoteStats = {0xfffffffe};

// Records 1 and 2 are of the local MEPs 5 and 6, record 3 of the remote MEP 7.
class StatisticsCallpoint : public PlatformTest {
 protected:
  StatisticsCallpoint() {
    data_.SetMepInfo(1, {"A", "x", 5});
    data_.SetMepInfo(2, {"A", "x", 6});
    data_.SetMepInfo(3, {"A", "x", 7});
    fake::SetUptime(1000);
  }

  int Read(tag::Tag leaf, long long key, int transaction = 7) {
    transactions_.push_back(std::make_unique<confd_trans_ctx>(Transaction(transaction)));
    confd_hkeypath_t keypath = Keypath({Tag(leaf), Int64(key)});
    const int result = callpoint_.GetElemCallback(transactions_.back().get(), &keypath);
    keypath = {};  // ConfD's keypath is gone after the callback
    return result;
  }
  void StoreLocal(const std::string& md, int mep, const cfm::st_lmep_stats& stats = kLocalStats) {
    callpoint_.HandleStatisticsLocalMep(md, "x", static_cast<unsigned short>(mep), stats);
  }
  void StoreRemote(const std::string& md, int mep, const cfm::st_rmep_stats& stats = kRemoteStats) {
    callpoint_.HandleStatisticsRemoteMep(md, "x", 1, static_cast<unsigned short>(mep), stats);
  }

  // Everything that happened since it was asked last.
  static std::vector<std::string> Happened() {
    std::vector<std::string> events;
    events.swap(fake::Events());
    return events;
  }
  // The messages since they were asked for last, as "level function: text".
  static std::vector<std::string> Messages() {
    std::vector<std::string> messages;
    for (const fake::LogRecord& record : fake::Logs()) {
      EXPECT_EQ(record.file, "status.cpp");
      messages.push_back(std::to_string(record.level) + " " + record.function + ": " + record.text);
    }
    fake::Logs().clear();
    return messages;
  }
  // Whether the MEP has an entry of its own; asking does not make one.
  bool IsCached(tag::Tag leaf, long long key) {
    confd_value_t value{};
    const confd_hkeypath_t keypath = Keypath({Tag(leaf), Int64(key)});
    return callpoint_.GetConfdValueFromCache(value, &keypath);
  }

  VelConfdInterface* connection_ = nullptr;
  cfm::StatusData data_{&connection_};
  cfm::Client client_{fake::Middleware(), nullptr};
  cfm::StatisticsCallpoint callpoint_{fake::Category(), &client_, &data_};
  std::vector<std::unique_ptr<confd_trans_ctx>> transactions_;
};

}  // namespace test

#endif
