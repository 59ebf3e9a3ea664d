// A status callpoint on the fake platform, with one record.
#ifndef CFM_TESTS_DAEMON_STATUS_CALLPOINT_FIXTURE_H
#define CFM_TESTS_DAEMON_STATUS_CALLPOINT_FIXTURE_H

#include <string>

#include "daemon/death.h"
#include "daemon/fake_confd.h"
#include "daemon/fake_velconfd.h"
#include "daemon/platform_test.h"
#include "daemon/values.h"
#include "status/status_callpoint.h"
#include "status/status_data.h"

namespace test {

namespace tag = cfm::tag;

inline constexpr tag::Tag kRemoteList = 0x12345678;
constexpr const char* kOpen = "open running read=1 connection=1";
constexpr const char* kClose = "close";

inline const std::string kMa = "/config/oam/cfm/md{east}/ma{blue}";
inline const std::string kMep = kMa + "/mep{5}";

// Record 3 is of MEP 5 of MA "blue" of MD "east".
class StatusCallpoint : public PlatformTest {
 protected:
  StatusCallpoint() { data_.SetMepInfo(3, {"east", "blue", 5}); }

  static confd_hkeypath_t Local(tag::Tag leaf, long long key = 3) {
    return Keypath({Tag(leaf), Int64(key), Tag(tag::kLocal)});
  }
  static confd_hkeypath_t Remote(tag::Tag leaf, long long key = 3) {
    return Keypath({Tag(leaf), Int64(key), Tag(kRemoteList)});
  }

  int GetElem(confd_hkeypath_t keypath) { return callpoint_.GetElemCallback(&tctx_, &keypath); }
  int GetNext(confd_hkeypath_t keypath, long next) {
    return callpoint_.GetNextCallback(&tctx_, &keypath, next);
  }

  // What a read of a leaf of the local list was answered with.
  std::string Answer(tag::Tag leaf) {
    fake::CdbCalls().clear();
    EXPECT_EQ(GetElem(Local(leaf)), CONFD_OK);
    return fake::CdbCalls().at(fake::CdbCalls().size() - 2);
  }
  // The same for one step through a leaf-list.
  std::string Step(tag::Tag leaf, long next) {
    fake::CdbCalls().clear();
    EXPECT_EQ(GetNext(Local(leaf), next), CONFD_OK);
    return fake::CdbCalls().at(fake::CdbCalls().size() - 2);
  }

  static testing::Matcher<const std::string&> Fatal(const std::string& function,
                                                    const std::string& message) {
    return FatalFault(function, message, "status.cpp");
  }

  VelConfdInterface* connection_ = fake::Connection(1);
  cfm::StatusData data_{&connection_};
  cfm::StatusCallpoint callpoint_{"a name", &data_, fake::Category()};
  confd_trans_ctx tctx_ = Transaction(7);
};

}  // namespace test

#endif
