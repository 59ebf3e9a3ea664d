#include "log_output.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "fault.h"
#include "record.h"
#include "unique_fd.h"
#include "velmidware.h"
#include "zlog.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using zlog_record::Record;

const Record kRecord{"cfm-app", "cfm-config", "config.cpp", "Config", 57, 10, "a message"};
const zlog_record::Time kTime =
    zlog_record::Time(std::chrono::sys_days(std::chrono::year(2026) / 11 / 20)) +
    std::chrono::hours(10) + std::chrono::milliseconds(123);

TEST(LogLine, HoldsTimeCategoryLevelPlaceAndMessage) {
  EXPECT_EQ(zlog_record::Line(kRecord, kTime),
            "2026-11-20T10:00:00.123Z cfm-config info config.cpp:57 Config: a message");
}

TEST(LogLine, NamesTheLevels) {
  Record record = kRecord;
  record.level = 11;
  EXPECT_THAT(zlog_record::Line(record, kTime), HasSubstr(" cfm-config warning config.cpp"));
  record.level = 12;
  EXPECT_THAT(zlog_record::Line(record, kTime), HasSubstr(" cfm-config error config.cpp"));
}

TEST(LogLine, IsOneLineWhateverTheMessageHolds) {
  Record record = kRecord;
  record.message = std::string_view("a\nb\tc\rd\x1b\x7f\0e\xc3\xa9", 13);
  EXPECT_THAT(zlog_record::Line(record, kTime),
              testing::EndsWith("Config: a\\nb\\tc\\rd\\x1b\\x7f\\x00e\xc3\xa9"));
}

TEST(JournalRecord, HoldsMessagePriorityPlaceProgramAndCategory) {
  EXPECT_THAT(
      zlog_record::JournalFields(kRecord),
      ElementsAre("MESSAGE=a message", "PRIORITY=6", "CODE_FILE=config.cpp", "CODE_LINE=57",
                  "CODE_FUNC=Config", "SYSLOG_IDENTIFIER=cfm-app", "ZLOG_CATEGORY=cfm-config"));
}

TEST(JournalRecord, TranslatesTheLevels) {
  Record record = kRecord;
  for (const auto& [level, priority] : {std::pair(11, "PRIORITY=4"), std::pair(12, "PRIORITY=3"),
                                        std::pair(99, "PRIORITY=3"), std::pair(-1, "PRIORITY=6")}) {
    record.level = level;
    EXPECT_THAT(zlog_record::JournalFields(record), testing::Contains(priority)) << level;
  }
}

TEST(JournalRecord, OfAnErrorWithoutCategoryHoldsThePlaceToo) {
  EXPECT_THAT(ipc::ErrorFields("agentd", "no\nroom", ipc::Place("../../agent/main.cpp", "main", 7)),
              ElementsAre("MESSAGE=no\\nroom", "PRIORITY=3", "CODE_FILE=main.cpp", "CODE_LINE=7",
                          "CODE_FUNC=main", "SYSLOG_IDENTIFIER=agentd"));
}

// The journal's end of its socket, at the path where programs look for it, for
// the calling thread and what it starts alone.
class JournalInNamespace {
 public:
  // Throws std::system_error where that cannot be had: it takes root.
  JournalInNamespace() {
    Check(unshare(CLONE_NEWNS), "unshare");
    Check(mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr), "mount /");
    Check(mount("tmpfs", "/run", "tmpfs", 0, nullptr), "mount /run");
    std::filesystem::create_directories("/run/systemd/journal");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string_view("/run/systemd/journal/socket").copy(address.sun_path, 64);
    Check(bind(socket_.Get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), "bind");
  }

  // The fields of the next record that was sent, sorted.
  std::vector<std::string> Next() const {
    std::vector<char> bytes(8192);
    const ssize_t size = recv(socket_.Get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    std::istringstream text(
        std::string(bytes.data(), size > 0 ? static_cast<std::size_t>(size) : 0));
    std::vector<std::string> fields;
    for (std::string field; std::getline(text, field);) {
      fields.push_back(field);
    }
    std::sort(fields.begin(), fields.end());
    return fields;
  }

 private:
  static void Check(int result, const char* operation) {
    if (result < 0) {
      throw std::system_error(errno, std::system_category(), operation);
    }
  }

  ipc::UniqueFd socket_{socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
};

TEST(Journal, GetsEachRecordWithItsFields) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can put a journal of its own in the place of the system's";
  }
  std::thread([] {
    const JournalInNamespace journal;
    setenv("CFM_LOG", "journal", 1);
    ASSERT_EQ(zlog_init(nullptr), 0);
    zlog(zlog_get_category("cfm-config"), "config.cpp", 10, "Config", 6, 20, 11, "a%sb", "\n");
    EXPECT_THAT(
        journal.Next(),
        ElementsAre("CODE_FILE=config.cpp", "CODE_FUNC=Config", "CODE_LINE=20", "MESSAGE=a\\nb",
                    "PRIORITY=4", "SYSLOG_IDENTIFIER=velmidware_test", "ZLOG_CATEGORY=cfm-config"));
    velmw::SetProgramName("cfm-app");
    velmw::ReportError("the agent is gone", ipc::Place("loop.cpp", "Loop", 3));
    EXPECT_THAT(journal.Next(), ElementsAre("CODE_FILE=loop.cpp", "CODE_FUNC=Loop", "CODE_LINE=3",
                                            "MESSAGE=the agent is gone", "PRIORITY=3",
                                            "SYSLOG_IDENTIFIER=cfm-app"));
    unsetenv("CFM_LOG");
    zlog_init(nullptr);
  }).join();
}

class StartError : public testing::Test {
 protected:
  // As the service manager does it for that stream.
  static void SetJournalStream(const struct stat& stream) {
    setenv("JOURNAL_STREAM",
           (std::to_string(stream.st_dev) + ":" + std::to_string(stream.st_ino)).c_str(), 1);
  }
  void SetUp() override { setenv("CFM_LOG", "journal", 1); }
  void TearDown() override {
    unsetenv("CFM_LOG");
    unsetenv("JOURNAL_STREAM");
  }
};

TEST_F(StartError, GoesToTheOperatorWhoStartedTheProgramByHand) {
  struct stat other {};
  ASSERT_EQ(stat("/dev/null", &other), 0);
  SetJournalStream(other);  // of the shell from which it was started
  testing::internal::CaptureStderr();
  ipc::ReportError("no\nroom");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "velmidware_test: no\\nroom\n");
}

TEST_F(StartError, IsNoLineWhereTheErrorStreamIsTheJournal) {
  testing::internal::CaptureStderr();
  struct stat stream {};
  ASSERT_EQ(fstat(STDERR_FILENO, &stream), 0);
  SetJournalStream(stream);
  ipc::ReportError("no room");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(LogTarget, FollowsTheEnvironment) {
  setenv("CFM_LOG", "journal", 1);
  EXPECT_TRUE(ipc::LogsToJournal());
  setenv("CFM_LOG", "stderr", 1);
  EXPECT_FALSE(ipc::LogsToJournal());
  unsetenv("CFM_LOG");
}

class Zlog : public testing::Test {
 protected:
  void SetUp() override {
    setenv("CFM_LOG", "stderr", 1);
    ASSERT_EQ(zlog_init(nullptr), 0);
  }
  void TearDown() override { unsetenv("CFM_LOG"); }
};

TEST_F(Zlog, FormatsOneRecordToTheErrorStream) {
  zlog_category_t* category = zlog_get_category("cfm-app");
  ASSERT_NE(category, nullptr);
  testing::internal::CaptureStderr();
  zlog(category, "status.cpp", 10, "Status", 6, 20, 12, "key %d of %s", 7, "cfm");
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]"
                                    "{3}Z cfm-app error status.cpp:20 Status: key 7 of cfm\n"));
}

TEST_F(Zlog, TakesNoMoreOfANameThanItsLength) {
  testing::internal::CaptureStderr();
  zlog(zlog_get_category("cfm-app"), "status.cpp", 6, "Status", 2, 20, 10, "m");
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(" status:20 St: m"));
}

TEST_F(Zlog, CarriesLongMessages) {
  const std::string message(100'000, 'x');
  testing::internal::CaptureStderr();
  zlog(zlog_get_category("cfm-app"), "a", 1, "b", 1, 1, 10, "%s", message.c_str());
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(message));
}

TEST_F(Zlog, HasOneCategoryPerName) {
  EXPECT_EQ(zlog_get_category("a"), zlog_get_category("a"));
  EXPECT_NE(zlog_get_category("a"), zlog_get_category("b"));
}

TEST_F(Zlog, CategoryOfTheMiddlewareIsThatOfTheName) {
  EXPECT_EQ(velmw_trace_init(nullptr, "cfm-app"), zlog_get_category("cfm-app"));
}

}  // namespace
