#include "log_output.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include "record.h"
#include "velmidware.h"
#include "zlog.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using zlog_record::Record;

const Record kRecord{"cfm-app", "config.cpp", "Config", 57, 10, "a message"};
const zlog_record::Time kTime =
    zlog_record::Time(std::chrono::sys_days(std::chrono::year(2026) / 11 / 20)) +
    std::chrono::hours(10) + std::chrono::milliseconds(123);

TEST(LogLine, HoldsTimeCategoryLevelPlaceAndMessage) {
  EXPECT_EQ(zlog_record::Line(kRecord, kTime),
            "2026-11-20T10:00:00.123Z cfm-app info config.cpp:57 Config: a message");
}

TEST(LogLine, NamesTheLevels) {
  Record record = kRecord;
  record.level = 11;
  EXPECT_THAT(zlog_record::Line(record, kTime), HasSubstr(" cfm-app warning config.cpp"));
  record.level = 12;
  EXPECT_THAT(zlog_record::Line(record, kTime), HasSubstr(" cfm-app error config.cpp"));
}

TEST(LogLine, IsOneLineWhateverTheMessageHolds) {
  Record record = kRecord;
  record.message = std::string_view("a\nb\tc\rd\x1b\x7f\0e\xc3\xa9", 13);
  EXPECT_THAT(zlog_record::Line(record, kTime),
              testing::EndsWith("Config: a\\nb\\tc\\rd\\x1b\\x7f\\x00e\xc3\xa9"));
}

TEST(JournalRecord, HoldsMessagePriorityAndPlace) {
  EXPECT_THAT(zlog_record::JournalFields(kRecord),
              ElementsAre("MESSAGE=a message", "PRIORITY=6", "CODE_FILE=config.cpp", "CODE_LINE=57",
                          "CODE_FUNC=Config", "SYSLOG_IDENTIFIER=cfm-app"));
}

TEST(JournalRecord, TranslatesTheLevels) {
  Record record = kRecord;
  for (const auto& [level, priority] : {std::pair(11, "PRIORITY=4"), std::pair(12, "PRIORITY=3"),
                                        std::pair(99, "PRIORITY=3"), std::pair(-1, "PRIORITY=6")}) {
    record.level = level;
    EXPECT_THAT(zlog_record::JournalFields(record), testing::Contains(priority)) << level;
  }
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
