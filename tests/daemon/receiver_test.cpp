#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "daemon/platform_test.h"
#include "status/status_receiver.h"

namespace test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Notes = std::vector<std::string>;

// Notes its destruction under a name; a callable that holds one shows when it
// is destroyed.
std::shared_ptr<void> Tracker(Notes& notes, const std::string& name) {
  return {nullptr, [&notes, name](void*) { notes.push_back("~" + name); }};
}

class StatusReceiver : public PlatformTest {
 protected:
  // Registers callbacks that note what reaches them, each named by its number
  // among the receiver's members.
  void RegisterAll(cfm::StatusReceiver& receiver, const std::string& suffix = "") {
    const auto track = [&](const char* name) { return Tracker(notes_, name + suffix); };
    receiver.Register(
        [this, t = track("0")](std::string md, std::string ma, int mep,
                               const cfm::st_lmep_status& status) {
          notes_.push_back("0 " + md + " " + ma + " " + std::to_string(mep));
          record_ = &status;
        },
        [this, t = track("1")](std::string md, std::string ma, int local, int remote,
                               const cfm::st_rmep_status& status) {
          notes_.push_back("1 " + md + " " + ma + " " + std::to_string(local) + " " +
                           std::to_string(remote));
          record_ = &status;
        },
        [this, t = track("2")](std::string md, std::string ma, int mep) {
          notes_.push_back("2 " + md + " " + ma + " " + std::to_string(mep));
        },
        [this, t = track("3")](std::string md, std::string ma, int local, int remote) {
          notes_.push_back("3 " + md + " " + ma + " " + std::to_string(local) + " " +
                           std::to_string(remote));
        },
        [this, t = track("4")](std::string md, std::string ma, int mep,
                               const cfm::st_lmep_stats& stats) {
          notes_.push_back("4 " + md + " " + ma + " " + std::to_string(mep));
          record_ = &stats;
        },
        [this, t = track("5")](std::string md, std::string ma, int local, int remote,
                               const cfm::st_rmep_stats& stats) {
          notes_.push_back("5 " + md + " " + ma + " " + std::to_string(local) + " " +
                           std::to_string(remote));
          record_ = &stats;
        },
        [this, t = track("6")] { notes_.push_back("6"); },
        [this, t = track("7")] { notes_.push_back("7"); });
  }

  void NotifyAll(cfm::StatusReceiver& receiver) {
    receiver.HandleStatusLocalMep("md", "ma", 1, {});
    receiver.HandleStatusRemoteMep("md", "ma", 1, 2, {});
    receiver.HandleStatisticsLocalMep("md", "ma", 1, {});
    receiver.HandleStatisticsRemoteMep("md", "ma", 1, 2, {});
    receiver.HandleStatisticsFinished();
    receiver.HandleRemovedLocalMep("md", "ma", 1);
    receiver.HandleRemovedRemoteMep("md", "ma", 1, 2);
  }

  static void RegisterNothing(cfm::StatusReceiver& receiver) {
    receiver.Register({}, {}, {}, {}, {}, {}, {}, {});
  }

  Notes notes_;
  const void* record_ = nullptr;
  cfm::StatusReceiver receiver_;
};

TEST_F(StatusReceiver, EachNotificationReachesItsOwnCallback) {
  RegisterAll(receiver_);
  NotifyAll(receiver_);
  receiver_.HandleStatusInvalidated();
  EXPECT_THAT(notes_, ElementsAre("0 md ma 1", "1 md ma 1 2", "4 md ma 1", "5 md ma 1 2", "6",
                                  "2 md ma 1", "3 md ma 1 2", "7"));
}

TEST_F(StatusReceiver, RecordsArePassedByReference) {
  RegisterAll(receiver_);
  const cfm::st_lmep_status local_status{};
  const cfm::st_rmep_status remote_status{};
  const cfm::st_lmep_stats local_stats{};
  const cfm::st_rmep_stats remote_stats{};
  receiver_.HandleStatusLocalMep("", "", 1, local_status);
  EXPECT_EQ(record_, &local_status);
  receiver_.HandleStatusRemoteMep("", "", 1, 2, remote_status);
  EXPECT_EQ(record_, &remote_status);
  receiver_.HandleStatisticsLocalMep("", "", 1, local_stats);
  EXPECT_EQ(record_, &local_stats);
  receiver_.HandleStatisticsRemoteMep("", "", 1, 2, remote_stats);
  EXPECT_EQ(record_, &remote_stats);
}

TEST_F(StatusReceiver, MepIdsAreWidenedWithoutASign) {
  RegisterAll(receiver_);
  receiver_.HandleStatusLocalMep("md", "ma", 65535, {});
  receiver_.HandleStatusRemoteMep("md", "ma", 65535, 65534, {});
  receiver_.HandleStatisticsLocalMep("md", "ma", 65535, {});
  receiver_.HandleStatisticsRemoteMep("md", "ma", 65535, 65534, {});
  receiver_.HandleRemovedLocalMep("md", "ma", 65535);
  receiver_.HandleRemovedRemoteMep("md", "ma", 65535, 65534);
  EXPECT_THAT(notes_, ElementsAre("0 md ma 65535", "1 md ma 65535 65534", "4 md ma 65535",
                                  "5 md ma 65535 65534", "2 md ma 65535", "3 md ma 65535 65534"));
}

// Where the bytes of a pair of names are: they move with their strings when
// these are too long to be kept inside.
class NameBytes {
 public:
  NameBytes(const std::string& md, const std::string& ma) : md_(md.data()), ma_(ma.data()) {}
  bool operator==(const NameBytes&) const = default;

 private:
  const void* md_;
  const void* ma_;
};

TEST_F(StatusReceiver, StringsAreMovedIntoTheCall) {
  std::vector<NameBytes> got;
  const auto note = [&](const std::string& md, const std::string& ma, auto&&...) {
    got.emplace_back(md, ma);
  };
  receiver_.Register(note, note, note, note, note, note, {}, {});
  const auto expect_moved = [&](auto notify) {
    std::string md(100, 'd');
    std::string ma(100, 'a');
    const NameBytes original(md, ma);
    got.clear();
    notify(std::move(md), std::move(ma));
    EXPECT_THAT(got, testing::SizeIs(1));
    EXPECT_TRUE(got.at(0) == original);
  };
  expect_moved([&](std::string md, std::string ma) {
    receiver_.HandleStatusLocalMep(std::move(md), std::move(ma), 1, {});
  });
  expect_moved([&](std::string md, std::string ma) {
    receiver_.HandleStatusRemoteMep(std::move(md), std::move(ma), 1, 2, {});
  });
  expect_moved([&](std::string md, std::string ma) {
    receiver_.HandleStatisticsLocalMep(std::move(md), std::move(ma), 1, {});
  });
  expect_moved([&](std::string md, std::string ma) {
    receiver_.HandleStatisticsRemoteMep(std::move(md), std::move(ma), 1, 2, {});
  });
  expect_moved([&](std::string md, std::string ma) {
    receiver_.HandleRemovedLocalMep(std::move(md), std::move(ma), 1);
  });
  expect_moved([&](std::string md, std::string ma) {
    receiver_.HandleRemovedRemoteMep(std::move(md), std::move(ma), 1, 2);
  });
}

TEST_F(StatusReceiver, WithoutCallbacksNotificationsAreDroppedWithoutAMessage) {
  NotifyAll(receiver_);
  EXPECT_THAT(fake::LogTexts(), IsEmpty());
  RegisterAll(receiver_);
  EXPECT_THAT(notes_, IsEmpty());
}

TEST_F(StatusReceiver, AnEarlyInvalidationIsReplayedOnceByRegister) {
  receiver_.HandleStatusInvalidated();
  receiver_.HandleStatusInvalidated();
  RegisterAll(receiver_, " first");
  EXPECT_THAT(notes_, ElementsAre("7"));
  notes_.clear();
  RegisterAll(receiver_, " second");
  EXPECT_THAT(notes_, testing::Not(testing::Contains("7")));
}

TEST_F(StatusReceiver, AnInvalidationThatWasDeliveredIsNotReplayed) {
  RegisterAll(receiver_);
  receiver_.HandleStatusInvalidated();
  RegisterNothing(receiver_);
  notes_.clear();
  RegisterAll(receiver_);
  EXPECT_THAT(notes_, IsEmpty());
}

TEST_F(StatusReceiver, WithoutAnEarlyInvalidationRegisterCallsNothing) {
  RegisterAll(receiver_);
  EXPECT_THAT(notes_, IsEmpty());
}

TEST_F(StatusReceiver, ARegistrationWithoutTheInvalidationCallbackKeepsTheInvalidation) {
  receiver_.HandleStatusInvalidated();
  RegisterNothing(receiver_);
  RegisterAll(receiver_);
  EXPECT_THAT(notes_, ElementsAre("7"));
}

// Whatever the replayed invalidation does to the receiver shows which of the
// callbacks are in place: those of status and removal, none of statistics.
TEST_F(StatusReceiver, TheReplayComesBeforeTheStatisticsCallbacks) {
  receiver_.HandleStatusInvalidated();
  const auto note = [this](const char* name) { return [this, name] { notes_.push_back(name); }; };
  receiver_.Register(
      [&](auto&&...) { notes_.push_back("0"); }, [&](auto&&...) { notes_.push_back("1"); },
      [&](auto&&...) { notes_.push_back("2"); }, [&](auto&&...) { notes_.push_back("3"); },
      [&](auto&&...) { notes_.push_back("4"); }, [&](auto&&...) { notes_.push_back("5"); },
      note("6"), [this] { NotifyAll(receiver_); });
  EXPECT_THAT(notes_, ElementsAre("0", "1", "2", "3"));
}

// A replay that throws is not done with: the next registration makes up for
// it. What comes behind it in a registration is not in place.
TEST_F(StatusReceiver, AReplayThatThrowsIsRepeatedByTheNextRegistration) {
  receiver_.HandleStatusInvalidated();
  const auto note = [this](const char* name) {
    return [this, name](auto&&...) { notes_.push_back(name); };
  };
  EXPECT_THROW(receiver_.Register(note("0"), note("1"), note("2"), note("3"), note("4"), note("5"),
                                  note("6"), [] { throw std::runtime_error("no session"); }),
               std::runtime_error);
  NotifyAll(receiver_);
  EXPECT_THAT(notes_, ElementsAre("0", "1", "2", "3"));
  notes_.clear();
  RegisterAll(receiver_);
  EXPECT_THAT(notes_, ElementsAre("7"));
}

TEST_F(StatusReceiver, RegisteringAgainDestroysTheFormerCallbacksInTheOrderOfAssignment) {
  RegisterAll(receiver_);
  RegisterNothing(receiver_);
  EXPECT_THAT(notes_, ElementsAre("~0", "~1", "~2", "~3", "~7", "~4", "~5", "~6"));
}

TEST_F(StatusReceiver, UnregisteringDestroysTheCallbacksInTheSameOrder) {
  RegisterAll(receiver_);
  receiver_.Unregister();
  EXPECT_THAT(notes_, ElementsAre("~0", "~1", "~2", "~3", "~7", "~4", "~5", "~6"));
}

TEST_F(StatusReceiver, AfterUnregisteringNotificationsAreDroppedAndInvalidationsRemembered) {
  RegisterAll(receiver_);
  receiver_.Unregister();
  notes_.clear();
  NotifyAll(receiver_);
  EXPECT_THAT(notes_, IsEmpty());
  receiver_.HandleStatusInvalidated();
  RegisterAll(receiver_);
  EXPECT_THAT(notes_, ElementsAre("7"));
}

TEST_F(StatusReceiver, UnregisteringKeepsARememberedInvalidation) {
  receiver_.HandleStatusInvalidated();
  receiver_.Unregister();
  receiver_.Unregister();
  RegisterAll(receiver_);
  EXPECT_THAT(notes_, ElementsAre("7"));
}

TEST_F(StatusReceiver, UnregisteringCannotThrow) {
  static_assert(noexcept(receiver_.Unregister()));
}

TEST_F(StatusReceiver, DestructionDestroysTheCallbacksFromTheLastToTheFirst) {
  {
    cfm::StatusReceiver receiver;
    RegisterAll(receiver);
  }
  EXPECT_THAT(notes_, ElementsAre("~7", "~6", "~5", "~4", "~3", "~2", "~1", "~0"));
}

TEST_F(StatusReceiver, WhatACallbackThrowsReachesTheCaller) {
  const auto fail = [](auto&&...) { throw std::runtime_error("from the callback"); };
  receiver_.Register(fail, fail, fail, fail, fail, fail, fail, fail);
  EXPECT_THROW(receiver_.HandleStatusLocalMep("md", "ma", 1, {}), std::runtime_error);
  EXPECT_THROW(receiver_.HandleStatusRemoteMep("md", "ma", 1, 2, {}), std::runtime_error);
  EXPECT_THROW(receiver_.HandleStatisticsLocalMep("md", "ma", 1, {}), std::runtime_error);
  EXPECT_THROW(receiver_.HandleStatisticsRemoteMep("md", "ma", 1, 2, {}), std::runtime_error);
  EXPECT_THROW(receiver_.HandleStatisticsFinished(), std::runtime_error);
  EXPECT_THROW(receiver_.HandleRemovedLocalMep("md", "ma", 1), std::runtime_error);
  EXPECT_THROW(receiver_.HandleRemovedRemoteMep("md", "ma", 1, 2), std::runtime_error);
  EXPECT_THROW(receiver_.HandleStatusInvalidated(), std::runtime_error);
}

}  // namespace
}  // namespace test
