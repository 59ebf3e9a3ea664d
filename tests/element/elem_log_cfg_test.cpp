#include "elem_log_cfg.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>
#include <string>

#include "elem_log_cfg_handle.h"

namespace {

constexpr ElemLogCfgLogHandle kHandle{"userLog", "UserLog", {2, -1, 50, 1, 10, 1}};
constexpr ElemLogCfgField kField{0, "class", "component", "Component", "Component", {}};
constexpr ElemLogCfgRecord kRecord{{3, 7, 3, 100, 1}, &kHandle, &kField, nullptr};

TEST(LogComponents, AreDistinctUpToTheRowWithoutAName) {
  std::set<std::string> names;
  std::set<int> classes;
  int rows = 0;
  for (const auto* row = ElemLogCfgComponents; row->name != nullptr; ++row, ++rows) {
    EXPECT_NE(row->display_name, nullptr) << row->name;
    EXPECT_EQ(row->zero, 0) << row->name;
    names.insert(row->name);
    classes.insert(row->class_id);
  }
  EXPECT_GT(rows, 0);
  EXPECT_EQ(names.size(), static_cast<std::size_t>(rows));
  EXPECT_EQ(classes.size(), static_cast<std::size_t>(rows));
  EXPECT_TRUE(names.contains("cfm-app"));
}

TEST(LogClass, MovesByTheElementsOffsetEachTime) {
  EXPECT_EQ(ElemLogCfgGetActualClass(1), 1001);
  EXPECT_EQ(ElemLogCfgGetActualClass(ElemLogCfgGetActualClass(1)), 2001);
}

TEST(LogClass, StopsAtTheLargestNumber) {
  constexpr int kMax = std::numeric_limits<int>::max();
  EXPECT_EQ(ElemLogCfgGetActualClass(kMax - 1000), kMax);
  EXPECT_EQ(ElemLogCfgGetActualClass(kMax - 999), kMax);
  EXPECT_EQ(ElemLogCfgGetActualClass(kMax), kMax);
}

TEST(LogConfiguration, IsKeptBehindTheHandle) {
  void* const handle = ElemLogCfgPopulate(&kRecord, &ElemLogCfgComponents);
  ASSERT_NE(handle, nullptr);
  const auto* const kept = static_cast<const ElemLogCfgHandle*>(handle);
  EXPECT_EQ(kept->record.integers[3], 100);
  EXPECT_EQ(kept->record.handles, &kHandle);
  EXPECT_EQ(kept->record.fields, &kField);
  EXPECT_EQ(kept->components, &ElemLogCfgComponents);
}

TEST(LogConfiguration, MayComeWithoutComponents) {
  ElemLogCfgComponent* none = nullptr;
  EXPECT_NE(ElemLogCfgPopulate(&kRecord, &none), nullptr);
}

TEST(LogConfiguration, ThatIsNotWholeIsRefused) {
  EXPECT_EQ(ElemLogCfgPopulate(nullptr, &ElemLogCfgComponents), nullptr);
  EXPECT_EQ(ElemLogCfgPopulate(&kRecord, nullptr), nullptr);
  ElemLogCfgRecord record = kRecord;
  record.handles = nullptr;
  EXPECT_EQ(ElemLogCfgPopulate(&record, &ElemLogCfgComponents), nullptr);
  record = kRecord;
  record.fields = nullptr;
  EXPECT_EQ(ElemLogCfgPopulate(&record, &ElemLogCfgComponents), nullptr);
  record = kRecord;
  record.null_word = &record;
  EXPECT_EQ(ElemLogCfgPopulate(&record, &ElemLogCfgComponents), nullptr);
}

}  // namespace
