// The figures that are counts and not times: round trips between the agent and
// the daemon, as the agent tells them.
#include <gtest/gtest.h>

#include "element.h"
#include "layout.h"
#include "record_watch.h"
#include "requests.h"
#include "scripted_manager.h"
#include "status_codec.h"

namespace bench {
namespace {

using cfm::manager::FromManager;

// Agent and daemon; this process is the manager and has one local MEP's status.
class RoundTrips : public testing::Test {
 protected:
  void StartWith(const Layout& layout) {
    ASSERT_TRUE(element_.StartAgent().AwaitReady()) << element_.Agent().Log();
    front_.emplace(loop_, element_.RuntimeDirectory());
    front_->Call(CommitDocument(layout.Document()));
    watch_.emplace(loop_, element_.RuntimeDirectory());
    local_ = layout.RecordNames().front();
    ASSERT_EQ(local_.remote, 0);
    element_.StartDaemon();
    ASSERT_TRUE(loop_.RunUntil([this] { return !manager_.Configurations().empty(); }));
  }

  // Sends the status and waits until the record shows its MAC address.
  void Publish(std::uint8_t last_octet) {
    cfm::st_lmep_status status{};
    status.mac = {{2, 0, 0, 0, 0, last_octet}};
    FromManager message;
    Encode(cfm::Named<cfm::st_lmep_status>{local_, status}, *message.mutable_local_status());
    bool is_published = false;
    watch_->SetOnChange([&](const cfm::agent::OperationalChange& change) {
      // The last leaf that the daemon writes.
      is_published = change.has_entry() && !LeafText(change.entry(), "block-state").empty() &&
                     LeafText(change.entry(), "mac-address") == Mac(last_octet);
    });
    manager_.Send(message);
    ASSERT_TRUE(loop_.RunUntil([&] { return is_published; }));
  }
  static std::string Mac(std::uint8_t last_octet) {
    return "02:00:00:00:00:0" + std::to_string(last_octet);
  }

  // The first status of every MEP.
  void PublishAll(const Layout& layout) {
    for (const cfm::RecordName& name : layout.RecordNames()) {
      FromManager message;
      if (name.remote == 0) {
        Encode(cfm::Named<cfm::st_lmep_status>{name, {}}, *message.mutable_local_status());
      } else {
        Encode(cfm::Named<cfm::st_rmep_status>{name, {}}, *message.mutable_remote_status());
      }
      manager_.Send(message);
    }
    watch_->AwaitCount(layout.Records());
  }
  static int Leaves(const cfm::agent::Node& node, std::string_view name) {
    int count = node.name() == name ? 1 : 0;
    for (const cfm::agent::Node& child : node.children()) {
      count += Leaves(child, name);
    }
    return count;
  }

  // What the daemon's connections of these roles have cost so far.
  std::uint64_t Cost(const std::vector<cfm::agent::Role>& roles) {
    cfm::agent::Request request;
    request.mutable_get_status();
    const cfm::agent::Reply reply = front_->Call(request);
    std::uint64_t round_trips = 0;
    for (const auto& connection : reply.status().connections()) {
      for (const auto role : roles) {
        round_trips += connection.role() == role ? connection.round_trips() : 0;
      }
    }
    return round_trips;
  }
  std::uint64_t DataCost() { return Cost({cfm::agent::ROLE_CDB_DATA}); }

  Loop loop_;
  test::Element element_;
  test::ScriptedManager manager_{loop_.Get(), element_.RuntimeDirectory() / "cfm-managerd.sock"};
  std::optional<AgentLine> front_;
  std::optional<RecordWatch> watch_;
  cfm::RecordName local_;
};

TEST_F(RoundTrips, OfAStatusUpdateAreAtMostFour) {
  StartWith(Layout(20));
  const std::uint64_t before = DataCost();
  Publish(1);
  const std::uint64_t created = DataCost();
  Publish(2);
  const std::uint64_t rewritten = DataCost();
  EXPECT_GE(created - before, 1U);
  EXPECT_LE(created - before, 4U);
  EXPECT_GE(rewritten - created, 1U);
  EXPECT_LE(rewritten - created, 4U);
}

TEST_F(RoundTrips, OfAComputedLeafAreAtMostTwo) {
  StartWith(Layout(20));
  Publish(1);
  const std::vector<cfm::agent::Role> roles = {cfm::agent::ROLE_CDB_DATA, cfm::agent::ROLE_WORKER};
  const std::uint64_t before = Cost(roles);
  const cfm::agent::Reply reply = front_->Call(ReadStatus(watch_->AnyPath("local") + "/level"));
  EXPECT_EQ(reply.node().value(), "0");  // as the layout gives the first MD
  const std::uint64_t after = Cost(roles);
  EXPECT_GE(after - before, 1U);
  EXPECT_LE(after - before, 2U);
  // Now the agent knows what the callpoint looks at.
  front_->Call(ReadStatus(watch_->AnyPath("local") + "/level"));
  EXPECT_EQ(Cost(roles) - after, 1U);
}

// Nine leaves and leaf-lists of each local record and one of each remote one,
// steps of walks not counted: at 64 a batch, one round trip for twelve records.
// On a busy machine batches end by time.
TEST_F(RoundTrips, OfAWholeTableAreAtMostOneForFourRecords) {
  const Layout layout(400);
  StartWith(layout);
  PublishAll(layout);
  cfm::agent::Request read = ReadStatus("");
  for (const char* leaf :
       {"level", "ccm-interval", "primary-vlan-id", "direction", "interface", "fault-alarm-time",
        "fault-reset-time", "vlan-list", "remote-mep-ids", "last-state-change"}) {
    read.mutable_get()->add_leaves(leaf);
  }
  const std::vector<cfm::agent::Role> roles = {cfm::agent::ROLE_CDB_DATA, cfm::agent::ROLE_WORKER};
  const std::uint64_t before = Cost(roles);
  const cfm::agent::Reply reply = front_->Call(read);
  EXPECT_EQ(reply.errors_size(), 0);
  EXPECT_EQ(reply.warnings_size(), 0);
  EXPECT_EQ(Leaves(reply.node(), "level"), 200);
  EXPECT_EQ(Leaves(reply.node(), "remote-mep-ids"), 2000);
  EXPECT_EQ(Leaves(reply.node(), "last-state-change"), 200);
  const std::uint64_t cost = Cost(roles) - before;
  EXPECT_GE(cost, 1U);
  EXPECT_LE(cost, static_cast<std::uint64_t>(layout.Records()) / 4);
}

TEST_F(RoundTrips, OfTheInitialLoadAreAtMostFourAnMd) {
  const Layout layout(1000);  // ten MDs of five MAs
  StartWith(layout);
  const std::uint64_t mds = static_cast<std::uint64_t>(layout.Mas()) / Layout::kMasPerMd;
  EXPECT_GE(DataCost(), mds);
  EXPECT_LE(DataCost(), 4 * mds);
}

TEST_F(RoundTrips, OfAWipeHardlyGrowWithTheRecords) {
  StartWith(Layout(20));
  Publish(1);
  const std::uint64_t before = DataCost();
  manager_.CloseConnection();
  watch_->AwaitCount(0);
  EXPECT_LE(DataCost() - before, 6U);
}

}  // namespace
}  // namespace bench
