// Two elements on a wire that are not configured for each other: each such
// mistake has its defect, which goes when it is mended.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "continuity.h"
#include "element.h"

namespace {

using test::Association;
using test::Element;
using test::ExpectSoon;
using testing::HasSubstr;
using testing::Not;

const Association kLeft{.meps = {1}, .remotes = {2}};
const Association kRight{.meps = {2}, .remotes = {1}};

class Misconfiguration : public testing::Test {
 protected:
  void SetUp() override {
    const std::filesystem::path wire = left_.Directory() / "wire";
    for (Element* element : {&left_, &right_}) {
      element->SetInterfaces(test::TableOfWire(wire));
      element->StartAll();
    }
    test::Configure(left_, kLeft);
  }
  void TearDown() override {
    for (Element* element : {&left_, &right_}) {
      EXPECT_THAT(element->Daemon().Log(), Not(HasSubstr("severity=1")));
    }
  }
  void ExpectAllWellSoon() {
    for (Element* element : {&left_, &right_}) {
      ExpectSoon(*element, {"defects=-", "state=rmep-ok", "tx-rdi=false"});
    }
  }

  Element left_;
  Element right_;
};

TEST_F(Misconfiguration, TheSameMepIdOnBothIsAnErrorOnBoth) {
  test::Configure(right_, kLeft);
  ExpectSoon(left_, {"defect=I"});
  ExpectSoon(right_, {"defect=I"});
  test::Configure(right_, kRight);
  ExpectAllWellSoon();
}

TEST_F(Misconfiguration, AMepIdThatNobodyExpectsIsAnError) {
  test::Configure(right_, {.meps = {3}, .remotes = {1}});
  ExpectSoon(left_, {"defect=I"});
  // The right one misses nobody, and hears that the left one is not content.
  ExpectSoon(right_, {"defects=A", "state=rmep-ok"});
  test::Configure(right_, kRight);
  ExpectAllWellSoon();
}

TEST_F(Misconfiguration, AnotherAssociationIsACrossConnectOnBoth) {
  test::Configure(right_, {.ma = "silver", .meps = {2}, .remotes = {1}});
  ExpectSoon(left_, {"defect=X"});
  ExpectSoon(right_, {"defect=X"});
  test::Configure(right_, kRight);
  ExpectAllWellSoon();
}

TEST_F(Misconfiguration, ALowerLevelIsACrossConnectAboveItAndNothingIsHeardBelow) {
  test::Configure(right_, {.level = 4, .meps = {2}, .remotes = {1}});
  ExpectSoon(left_, {"defect=X"});
  ExpectSoon(right_, {"defects=R", "state=rmep-failed"});
  test::Configure(right_, kRight);
  ExpectAllWellSoon();
}

TEST_F(Misconfiguration, AnotherIntervalIsAnErrorOnBoth) {
  test::Configure(right_, {.interval = "10s", .meps = {2}, .remotes = {1}});
  ExpectSoon(left_, {"defect=I"});
  ExpectSoon(right_, {"defect=I"});
  // Mended from the quick side: the defect of the slow one's CCMs would stay for
  // 35 s after the last of them.
  test::Configure(left_, {.interval = "10s", .meps = {1}, .remotes = {2}});
  ExpectSoon(left_, {"defect!=I"});
  ExpectSoon(right_, {"defect!=I"});
}

TEST_F(Misconfiguration, AMepThatOnlyOneSideMissesIsARemoteDefectThereAndRdiHere) {
  test::Configure(left_, {.meps = {1}, .remotes = {2, 3}});
  test::Configure(right_, kRight);
  ExpectSoon(left_, {"defects=R", "tx-rdi=true"});
  ExpectSoon(right_, {"defects=A", "rx-rdi=true", "state=rmep-ok", "tx-rdi=false"});
  test::Configure(left_, kLeft);
  ExpectAllWellSoon();
}

}  // namespace
