// Base of the tests on the fake platform: it is fresh before any member of the
// fixture exists, and forgets what refers to the fixture afterwards.
#ifndef CFM_TESTS_DAEMON_PLATFORM_TEST_H
#define CFM_TESTS_DAEMON_PLATFORM_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "daemon/fake_platform.h"

namespace test {

class PlatformTest : public testing::Test {
 protected:
  PlatformTest() { fake::Reset(); }
  ~PlatformTest() override { fake::Reset(); }
};

}  // namespace test

#endif
