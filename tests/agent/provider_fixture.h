// Tests of reads that data providers answer.
#ifndef TESTS_AGENT_PROVIDER_FIXTURE_H
#define TESTS_AGENT_PROVIDER_FIXTURE_H

#include <map>
#include <string>
#include <vector>

#include "fixture.h"
#include "scripted_provider.h"

namespace agentd::test {

inline constexpr const char* kLocal0 = "/status/oam/cfm/local[id='0']";
inline constexpr const char* kRemote1 = "/status/oam/cfm/remote[id='1']";

// MD "east" with MA "blue" is configured, and the records of its MEP 5 (local
// 0) and remote MEP 100 (remote 1) are written.
class ProviderTest : public ::testing::Test {
 protected:
  // What a test leaves unfinished is cut off at the end, unless it is told that
  // there is time.
  explicit ProviderTest(std::vector<std::string> options = {"--end-timeout", "0"})
      : agent_(std::move(options)) {}
  void SetUp() override {
    ASSERT_EQ(Front().Edit({Document(EastDocument())}).txid(), 1U);
    writer_.Put("local", 0, LocalMep("east", "blue", 5));
    writer_.Put("remote", 1, RemoteMep("east", "blue", 100));
  }
  // Whatever the test did to it, the agent ends in order.
  void TearDown() override { EXPECT_EQ(agent_.Stop(), 0) << agent_.Log(); }

  Client Front(const std::string& name = "front") {
    return Client(agent_, pb::ROLE_FRONT_END, name);
  }
  // Values of the leaves of an entry, leaf-lists with commas.
  static std::map<std::string, std::string> LeavesOf(const pb::Node& entry) {
    std::map<std::string, std::string> leaves;
    for (const pb::Node& child : entry.children()) {
      std::string& value = leaves[child.name()];
      value += (value.empty() ? "" : ",") + child.value();
    }
    return leaves;
  }
  static std::string OnlyWarning(const pb::Reply& reply) {
    EXPECT_EQ(reply.warnings_size(), 1);
    return reply.warnings_size() > 0 ? reply.warnings(0) : "";
  }
  static std::string OnlyError(const pb::Reply& reply) {
    EXPECT_EQ(reply.errors_size(), 1);
    return reply.errors_size() > 0 ? reply.errors(0).message() : "";
  }

  RunningAgent agent_;
  OperationalWriter writer_{agent_};
};

}  // namespace agentd::test

#endif
