#include <confd_cdb.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <stdexcept>

#include "confd/connected.h"
#include "confd/data_agent.h"
#include "confd/data_tree.h"
#include "confd/fake_agent.h"

namespace {

using cfm::agent::Notification;
using test::Changed;
using test::ChangedEntry;
using test::FakeAgent;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr int kFirstId = 40;

// Answers subscriptions with ids from kFirstId on, until they are done.
std::vector<cfm::agent::Subscribe> TakeSubscriptions(int fd) {
  test::Welcome(fd, cfm::agent::ROLE_CDB_SUBSCRIPTION, test::ModelNames());
  std::vector<cfm::agent::Subscribe> subscriptions;
  while (const auto request = test::TakeRequest(fd)) {
    cfm::agent::Reply reply;
    if (request->has_subscribe()) {
      reply.set_subscription_id(kFirstId + static_cast<int>(subscriptions.size()));
      subscriptions.push_back(request->subscribe());
    }
    test::Answer(fd, reply);
    if (request->has_subscribe_done()) {
      break;
    }
  }
  return subscriptions;
}

// The MD `name` came into being.
Notification MdCreated(const std::string& name) {
  Notification notification;
  notification.set_txid(2);
  notification.add_points(kFirstId);
  *notification.mutable_root() = Changed(
      0, 0,
      {Changed(0x1001, 0,
               {Changed(0x1002, 0,
                        {Changed(0x1003, 0,
                                 {ChangedEntry(0x5baff9dc, {test::Text(name)}, MOP_CREATED)})})})});
  return notification;
}

// Subscribes to /config/oam/cfm/md/ on a new socket.
class Subscriber {
 public:
  explicit Subscriber(const FakeAgent& agent) : socket_(agent, CDB_SUBSCRIPTION_SOCKET) {
    EXPECT_EQ(cdb_subscribe(Fd(), 3, 0x76d9c9b9, &id, "/config/oam/cfm/md/"), CONFD_OK);
    EXPECT_EQ(cdb_subscribe_done(Fd()), CONFD_OK);
  }

  int id = 0;
  int Fd() const { return socket_.Fd(); }

  // Takes a notification; result of the call.
  int Take() { return cdb_read_subscription_socket(Fd(), points_.data(), &count_); }
  std::vector<int> Points() const { return {points_.begin(), points_.begin() + count_}; }

 private:
  test::Connected socket_;
  std::array<int, CDB_MAX_SUBSCRIPTION_POINTS> points_{};
  int count_ = 0;
};

confd_iter_ret NotePath(confd_hkeypath_t* path, confd_iter_op op, confd_value_t*, confd_value_t*,
                        void* state) {
  std::array<char, 256> text{};
  confd_pp_kpath(text.data(), text.size(), path);
  static_cast<std::vector<std::string>*>(state)->push_back(std::to_string(op) + text.data());
  return ITER_RECURSE;
}

TEST(Subscription, TakesWalksAndAcknowledgesCommits) {
  std::vector<cfm::agent::Subscribe> subscriptions;
  std::vector<std::uint64_t> acknowledged;
  FakeAgent agent({[&](int fd) {
    subscriptions = TakeSubscriptions(fd);
    std::uint64_t number = 8;
    for (const char* name : {"east", "two words"}) {
      Notification notification = MdCreated(name);
      notification.set_number(++number);
      test::Notify(fd, notification);
      const auto sync = test::TakeRequest(fd);
      EXPECT_EQ(sync->subscription_sync().type(), std::uint32_t{CDB_DONE_PRIORITY});
      acknowledged.push_back(sync->subscription_sync().number());
    }
    test::AwaitClose(fd);
  }});
  {
    Subscriber subscriber(agent);
    EXPECT_EQ(subscriber.id, kFirstId);
    for (const char* path : {"1/config/oam/cfm/md{east}", "1/config/oam/cfm/md{\"two words\"}"}) {
      ASSERT_EQ(subscriber.Take(), CONFD_OK) << confd_lasterr();
      EXPECT_THAT(subscriber.Points(), ElementsAre(kFirstId));
      std::vector<std::string> calls;
      EXPECT_EQ(cdb_diff_iterate(subscriber.Fd(), kFirstId, NotePath, 0, &calls), CONFD_OK);
      EXPECT_THAT(calls, ElementsAre(path));
      EXPECT_EQ(cdb_sync_subscription_socket(subscriber.Fd(), CDB_DONE_PRIORITY), CONFD_OK);
    }
  }
  EXPECT_EQ(agent.Finish(), "");
  EXPECT_THAT(acknowledged, ElementsAre(9, 10));
  ASSERT_EQ(subscriptions.size(), 1U);
  EXPECT_EQ(subscriptions[0].priority(), 3);
  EXPECT_EQ(subscriptions[0].name_space(), 0x76d9c9b9U);
  EXPECT_EQ(subscriptions[0].path().steps_size(), 4);
}

TEST(Subscription, CallsOutOfOrderAreErrors) {
  FakeAgent agent({[](int fd) {
    TakeSubscriptions(fd);
    test::Notify(fd, MdCreated("east"));
    test::TakeRequest(fd);
  }});
  Subscriber subscriber(agent);
  std::vector<std::string> calls;
  const auto refused = [](int result, int code) {
    return result == CONFD_ERR && confd_errno == code;
  };
  int id = 0;
  EXPECT_TRUE(refused(cdb_subscribe(subscriber.Fd(), 0, 0, &id, "/config"), CONFD_ERR_BADSTATE));
  EXPECT_TRUE(refused(cdb_subscribe_done(subscriber.Fd()), CONFD_ERR_BADSTATE));
  EXPECT_TRUE(refused(cdb_diff_iterate(subscriber.Fd(), kFirstId, NotePath, 0, &calls),
                      CONFD_ERR_BADSTATE));
  EXPECT_TRUE(refused(cdb_sync_subscription_socket(subscriber.Fd(), CDB_DONE_PRIORITY),
                      CONFD_ERR_BADSTATE));
  ASSERT_EQ(subscriber.Take(), CONFD_OK);
  EXPECT_TRUE(refused(subscriber.Take(), CONFD_ERR_BADSTATE));
  EXPECT_TRUE(
      refused(cdb_diff_iterate(subscriber.Fd(), 99, NotePath, 0, &calls), CONFD_ERR_PROTOUSAGE));
  EXPECT_TRUE(refused(cdb_diff_iterate(subscriber.Fd(), kFirstId, nullptr, 0, &calls),
                      CONFD_ERR_PROTOUSAGE));
  EXPECT_TRUE(refused(cdb_start_session(subscriber.Fd(), CDB_RUNNING), CONFD_ERR_PROTOUSAGE));
  EXPECT_EQ(cdb_sync_subscription_socket(subscriber.Fd(), CDB_DONE_PRIORITY), CONFD_OK);
}

TEST(Subscription, ARefusalNamesThePath) {
  FakeAgent agent({[](int fd) {
    test::Welcome(fd, cfm::agent::ROLE_CDB_SUBSCRIPTION);
    test::TakeRequest(fd);
    cfm::agent::Reply reply;
    reply.add_errors()->set_code(CONFD_ERR_BADPATH);
    reply.mutable_errors(0)->set_message("the model has no node 'wrong'");
    test::Answer(fd, reply);
    test::AwaitClose(fd);
  }});
  test::Connected socket(agent, CDB_SUBSCRIPTION_SOCKET);
  int id = -7;
  EXPECT_EQ(cdb_subscribe(socket.Fd(), 0, 0, &id, "/config/wrong/"), CONFD_ERR);
  EXPECT_EQ(confd_errno, CONFD_ERR_BADPATH);
  EXPECT_STREQ(confd_lasterr(), "/config/wrong: the model has no node 'wrong'");
  EXPECT_EQ(id, -7);
  EXPECT_EQ(cdb_subscribe(socket.Fd(), 0, 0, &id, "/config/md[0]"), CONFD_ERR);
}

TEST(Subscription, TheAgentsEndIsTheEndOfTheFile) {
  FakeAgent agent({[](int fd) { TakeSubscriptions(fd); }});
  Subscriber subscriber(agent);
  EXPECT_EQ(subscriber.Take(), CONFD_EOF);
  EXPECT_EQ(subscriber.Take(), CONFD_EOF);
}

// What the first read gives for that notification; the second must be the end.
int TakeHostile(const Notification& notification) {
  FakeAgent agent({[&](int fd) {
    TakeSubscriptions(fd);
    test::Notify(fd, notification);
    test::AwaitClose(fd);
  }});
  Subscriber subscriber(agent);
  const int result = subscriber.Take();
  if (result == CONFD_ERR) {
    EXPECT_EQ(confd_errno, CONFD_ERR_PROTOUSAGE);
    EXPECT_EQ(subscriber.Take(), CONFD_EOF);
  }
  return result;
}

TEST(Subscription, NotificationsThatMakeNoSenseEndTheConnection) {
  Notification foreign;
  foreign.add_points(7);
  EXPECT_EQ(TakeHostile(foreign), CONFD_ERR);
  Notification endless;
  for (int i = 0; i <= CDB_MAX_SUBSCRIPTION_POINTS; ++i) {
    endless.add_points(kFirstId);
  }
  EXPECT_EQ(TakeHostile(endless), CONFD_ERR);
  endless.mutable_points()->RemoveLast();
  EXPECT_EQ(TakeHostile(endless), CONFD_OK);
}

TEST(Subscription, ChangesThatMakeNoSenseEndTheConnection) {
  FakeAgent agent({[](int fd) {
    TakeSubscriptions(fd);
    Notification notification = MdCreated("east");
    notification.mutable_root()
        ->mutable_children(0)
        ->mutable_children(0)
        ->mutable_children(0)
        ->mutable_children(0)
        ->set_op(77);
    test::Notify(fd, notification);
    test::AwaitClose(fd);
  }});
  Subscriber subscriber(agent);
  ASSERT_EQ(subscriber.Take(), CONFD_OK);
  std::vector<std::string> calls;
  EXPECT_EQ(cdb_diff_iterate(subscriber.Fd(), kFirstId, NotePath, 0, &calls), CONFD_ERR);
  EXPECT_THAT(calls, testing::IsEmpty());
  EXPECT_EQ(cdb_sync_subscription_socket(subscriber.Fd(), CDB_DONE_PRIORITY), CONFD_EOF);
}

FakeAgent::Script OneCommit() {
  return [](int fd) {
    TakeSubscriptions(fd);
    test::Notify(fd, MdCreated("east"));
    test::TakeRequest(fd);
  };
}

TEST(Subscription, ACallbackMayCloseTheSocket) {
  FakeAgent agent({OneCommit()});
  test::Connected socket(agent, CDB_SUBSCRIPTION_SOCKET);
  int id = 0;
  ASSERT_EQ(cdb_subscribe(socket.Fd(), 0, 1, &id, "/config/oam/cfm/md"), CONFD_OK);
  ASSERT_EQ(cdb_subscribe_done(socket.Fd()), CONFD_OK);
  std::array<int, CDB_MAX_SUBSCRIPTION_POINTS> points{};
  int count = 0;
  ASSERT_EQ(cdb_read_subscription_socket(socket.Fd(), points.data(), &count), CONFD_OK);
  const auto close_socket = [](confd_hkeypath_t*, confd_iter_op, confd_value_t*, confd_value_t*,
                               void* state) {
    static_cast<test::Connected*>(state)->Close();
    return ITER_RECURSE;
  };
  EXPECT_EQ(cdb_diff_iterate(socket.Fd(), id, close_socket, 0, &socket), CONFD_OK);
}

TEST(Subscription, WhatACallbackThrowsStopsAtTheCall) {
  FakeAgent agent({OneCommit()});
  Subscriber subscriber(agent);
  ASSERT_EQ(subscriber.Take(), CONFD_OK);
  const auto throwing = [](confd_hkeypath_t*, confd_iter_op, confd_value_t*, confd_value_t*,
                           void*) -> confd_iter_ret { throw std::runtime_error("a bug"); };
  EXPECT_EQ(cdb_diff_iterate(subscriber.Fd(), subscriber.id, throwing, 0, nullptr), CONFD_ERR);
  EXPECT_THAT(confd_lasterr(), HasSubstr("a bug"));
  EXPECT_EQ(cdb_sync_subscription_socket(subscriber.Fd(), CDB_DONE_PRIORITY), CONFD_OK);
}

}  // namespace
