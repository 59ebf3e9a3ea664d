#include "instance_lock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>

#include "temporary_directory.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;

class InstanceLock : public testing::Test {
 protected:
  test::TemporaryDirectory temporary_;
  std::filesystem::path directory_ = temporary_.Path() / "run";
};

TEST_F(InstanceLock, MakesTheDirectoryForOwnerAndGroup) {
  const ipc::InstanceLock lock(directory_, "cfm-app");
  struct stat status {};
  ASSERT_EQ(stat(directory_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0750U);
}

TEST_F(InstanceLock, TellsASecondInstanceWhoRunsAndWhatToDo) {
  const ipc::InstanceLock lock(directory_, "cfm-app");
  try {
    const ipc::InstanceLock second(directory_, "cfm-app");
    FAIL() << "two instances";
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), AllOf(HasSubstr("cfm-app already runs"),
                                    HasSubstr("process " + std::to_string(getpid())),
                                    HasSubstr(directory_.native()), HasSubstr("stop it")));
  }
}

TEST_F(InstanceLock, KeepsNamesAndDirectoriesApart) {
  const ipc::InstanceLock lock(directory_, "cfm-app");
  EXPECT_NO_THROW(ipc::InstanceLock(directory_, "agentd"));
  EXPECT_NO_THROW(ipc::InstanceLock(temporary_.Path() / "other", "cfm-app"));
}

TEST_F(InstanceLock, IsFreeAgainWhenItsHolderEnds) {
  { const ipc::InstanceLock lock(directory_, "cfm-app"); }
  EXPECT_NO_THROW(ipc::InstanceLock(directory_, "cfm-app"));
}

TEST_F(InstanceLock, TakesAFileThatALongerPidWasWrittenTo) {
  std::filesystem::create_directory(directory_);
  std::ofstream(directory_ / "cfm-app.lock") << "99999999999999\n";
  const ipc::InstanceLock lock(directory_, "cfm-app");
  std::string pid;
  std::ifstream(directory_ / "cfm-app.lock") >> pid;
  EXPECT_EQ(pid, std::to_string(getpid()));
}

TEST_F(InstanceLock, NamesADirectoryThatCannotBeMade) {
  const std::filesystem::path deep = directory_ / "deeper";
  try {
    const ipc::InstanceLock lock(deep, "cfm-app");
    FAIL() << "locked in a directory whose parent is missing";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code().value(), ENOENT);
    EXPECT_THAT(error.what(), HasSubstr(deep.native()));
  }
}

}  // namespace
