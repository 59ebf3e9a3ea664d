// Configurations of few MEPs on interface eth1, and what the elements that
// have them show.
#ifndef TESTS_SYSTEM_CONTINUITY_H
#define TESTS_SYSTEM_CONTINUITY_H

#include <set>
#include <string>
#include <vector>

#include "element.h"

namespace test {

// One maintenance association of the MD "provider", and the element's MEPs in
// it, which send CCMs.
struct Association {
  std::string ma = "gold";
  int level = 5;
  std::string interval = "1s";
  std::vector<int> meps = {};
  std::vector<int> remotes = {};
};
// As JSON, for `cfmctl load`.
std::string Document(const Association& association);
// Commits that and nothing else.
void Configure(Element& element, const Association& association);

// The interface table of an element whose eth1 is that wire.
std::string TableOfWire(const std::filesystem::path& wire);

// Waits until a `cfmctl watch --until` of these conditions ends well.
void ExpectSoon(Element& element, const std::vector<std::string>& conditions);
// Waits until every configured MEP has a record.
void ExpectRecordsSoon(Element& element);
// The records that there are: "local provider gold 1", "remote provider gold
// 1 2".
std::multiset<std::string> Records(Element& element);
// The number that the leaf has in the output of `cfmctl show statistics`; -1
// when there is none.
long Counter(Element& element, const std::string& leaf);

}  // namespace test

#endif
