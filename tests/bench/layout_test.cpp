#include "layout.h"

#include <gtest/gtest.h>

#include <set>

namespace bench {
namespace {

int Occurrences(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

TEST(Layout, SpreadsTheRecordsOverAssociationsAndDomains) {
  const Layout layout(1000);
  const std::string document = layout.Document();
  EXPECT_EQ(Occurrences(document, "<mep>"), 500);
  EXPECT_EQ(Occurrences(document, "<remote-meps>"), 500);
  EXPECT_EQ(Occurrences(document, "<ma>"), 50);
  EXPECT_EQ(Occurrences(document, "<md>"), 10);
  EXPECT_EQ(Occurrences(document, "</md>"), 10);
}

TEST(Layout, ADomainThatIsNotFullIsClosedToo) {
  const std::string document = Layout(120).Document();
  EXPECT_EQ(Occurrences(document, "<ma>"), 6);
  EXPECT_EQ(Occurrences(document, "<md>"), 2);
  EXPECT_EQ(Occurrences(document, "</md>"), 2);
}

TEST(Layout, NamesEachRecordOnce) {
  const std::vector<cfm::RecordName> names = Layout(200).RecordNames();
  EXPECT_EQ(names.size(), 200U);
  EXPECT_EQ(std::set<cfm::RecordName>(names.begin(), names.end()).size(), 200U);
}

TEST(Layout, AssociationsStandInTheWholeAsTheyStandAlone) {
  const Layout layout(200);
  const std::string ma = layout.MaDocument(7);
  const std::size_t begin = ma.find("<ma>");
  const std::size_t end = ma.find("</md>");
  ASSERT_LT(begin, end);
  EXPECT_NE(layout.Document().find(ma.substr(begin, end - begin)), std::string::npos);
  EXPECT_EQ(layout.MaPath(7), "/config/oam/cfm/md[id='md001']/ma[id='ma007']");
}

TEST(Layout, RefusesWhatIsNoMultipleOrTooMuch) {
  for (const int records : {0, -20, 10, 21, 8200}) {
    EXPECT_THROW(Layout{records}, std::invalid_argument) << records;
  }
  EXPECT_EQ(Layout(Layout::kMostRecords).Records(), 8180);
}

}  // namespace
}  // namespace bench
