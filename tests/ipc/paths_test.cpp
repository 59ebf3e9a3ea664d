#include "paths.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

class Paths : public testing::Test {
 protected:
  void SetUp() override { Clear(); }
  void TearDown() override { Clear(); }

  static void Clear() {
    for (const char* variable : {"CFM_RUNTIME_DIR", "CFM_STATE_DIR", "CFM_INTERFACES"}) {
      unsetenv(variable);
    }
  }
};

TEST_F(Paths, AreTheSystemsOwnByDefault) {
  EXPECT_EQ(ipc::AgentSocket(), "/run/cfm/agentd.sock");
  EXPECT_EQ(ipc::ManagerSocket(), "/run/cfm/cfm-managerd.sock");
  EXPECT_EQ(ipc::StateDirectory(), "/var/lib/cfm");
  EXPECT_EQ(ipc::InterfaceTablePath(), "/etc/cfm/interfaces");
}

TEST_F(Paths, FollowTheEnvironment) {
  setenv("CFM_RUNTIME_DIR", "/tmp/a", 1);
  setenv("CFM_STATE_DIR", "/tmp/b", 1);
  setenv("CFM_INTERFACES", "/tmp/c", 1);
  EXPECT_EQ(ipc::AgentSocket(), "/tmp/a/agentd.sock");
  EXPECT_EQ(ipc::ManagerSocket(), "/tmp/a/cfm-managerd.sock");
  EXPECT_EQ(ipc::StateDirectory(), "/tmp/b");
  EXPECT_EQ(ipc::InterfaceTablePath(), "/tmp/c");
}

TEST_F(Paths, AnEmptyVariableIsNoDirectory) {
  setenv("CFM_RUNTIME_DIR", "", 1);
  EXPECT_EQ(ipc::RuntimeDirectory(), "/run/cfm");
}

}  // namespace
