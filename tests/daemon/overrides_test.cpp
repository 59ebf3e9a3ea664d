// Which of the framework's operations the daemon's handlers override: the
// class that a name of an operation leads to is the last one that declares it.
#include <gtest/gtest.h>

#include <type_traits>

#include "config/config.h"
#include "status/actions.h"
#include "status/statistics_callpoint.h"
#include "status/status.h"
#include "status/status_callpoint.h"

namespace test {
namespace {

using velconfd::ActionHandler;
using velconfd::BaseHandler;
using velconfd::DataHandler;
using Callpoint = velconfd::DataHandler::Callpoint;

template <typename Operation>
struct Declarer;
template <typename Class, typename Result, typename... Arguments>
struct Declarer<Result (Class::*)(Arguments...)> {
  using Type = Class;
};
template <typename Class, typename Result, typename... Arguments>
struct Declarer<Result (Class::*)(Arguments...) const> {
  using Type = Class;
};

// Whether `operation` is the one that Class declares.
template <typename Class, typename Operation>
constexpr bool Declares(Operation /*operation*/) {
  return std::is_same_v<typename Declarer<Operation>::Type, Class>;
}

TEST(Overrides, OfTheConnection) {
  static_assert(Declares<cfm::Status>(&cfm::Status::ConfdConnected));
  static_assert(Declares<cfm::Status>(&cfm::Status::ConfdDisconnected));
  static_assert(Declares<BaseHandler>(&cfm::Config::ConfdConnected));
  static_assert(Declares<BaseHandler>(&cfm::Config::ConfdDisconnected));
  static_assert(Declares<BaseHandler>(&cfm::Actions::ConfdConnected));
  static_assert(Declares<BaseHandler>(&cfm::Actions::ConfdDisconnected));
}

TEST(Overrides, OfTheConfigurationHandler) {
  static_assert(Declares<cfm::Config>(&cfm::Config::LoadInitialConfig));
  static_assert(Declares<cfm::Config>(&cfm::Config::ApplyInitialConfig));
  static_assert(Declares<cfm::Config>(&cfm::Config::StartCommit));
  static_assert(Declares<cfm::Config>(&cfm::Config::ApplyCommitConfig));
  static_assert(Declares<cfm::Config>(&cfm::Config::GetSubscriptionPoints));
}

TEST(Overrides, OfTheStatusHandler) {
  static_assert(Declares<DataHandler>(&cfm::Status::TransactionInit));
  static_assert(Declares<DataHandler>(&cfm::Status::TransactionFinish));
  static_assert(Declares<cfm::Status>(&cfm::Status::GetCallpoints));
}

TEST(Overrides, OfTheActionHandler) {
  static_assert(Declares<cfm::Actions>(&cfm::Actions::GetActionPoint));
  static_assert(Declares<cfm::Actions>(&cfm::Actions::ActionCb));
  static_assert(Declares<ActionHandler>(&cfm::Actions::CompletionCb));
}

template <typename Derived>
constexpr bool ReadsOnly() {
  return Declares<Callpoint>(&Derived::ExistsOptionalCallback) &&
         Declares<Derived>(&Derived::GetNextCallback) &&
         Declares<Derived>(&Derived::GetElemCallback) &&
         Declares<Callpoint>(&Derived::SetElemCallback) &&
         Declares<Callpoint>(&Derived::CreateCallback) &&
         Declares<Callpoint>(&Derived::RemoveCallback) &&
         Declares<Callpoint>(&Derived::NumInstancesCallback) &&
         Declares<Callpoint>(&Derived::GetObjectCallback) &&
         Declares<Callpoint>(&Derived::GetNextObjectCallback) &&
         Declares<Callpoint>(&Derived::FindNextObjectCallback) &&
         Declares<Callpoint>(&Derived::WriteAllCallback) &&
         Declares<Derived>(&Derived::GetCallpoint);
}

TEST(Overrides, OfTheCallpointsAreThoseThatReadSingleValues) {
  static_assert(ReadsOnly<cfm::StatusCallpoint>());
  static_assert(ReadsOnly<cfm::StatisticsCallpoint>());
}

}  // namespace
}  // namespace test
