#include "continuity.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

#include "front_end.h"

namespace test {
namespace {

std::string MepDocument(int id) {
  return fmt::format(
      R"({{"id":{},"interface":"eth1","direction":"down","continuity-check":{{"cci-enabled":[null]}}}})",
      id);
}

// The leaves of a record that name it, in that order.
std::string NameOf(const cfm::agent::Node& record) {
  std::string name = record.name();
  for (const char* leaf : {"md", "ma", "mep", "local-mep", "remote-mep"}) {
    for (const cfm::agent::Node& child : record.children()) {
      if (child.name() == leaf) {
        name += " " + child.value();
      }
    }
  }
  return name;
}

void Collect(const cfm::agent::Node& node, std::multiset<std::string>& names) {
  if (node.kind() == cfm::agent::Node::LIST_ENTRY) {
    names.insert(NameOf(node));
    return;
  }
  for (const cfm::agent::Node& child : node.children()) {
    Collect(child, names);
  }
}

}  // namespace

std::string Document(const Association& association) {
  std::vector<std::string> meps;
  std::ranges::transform(association.meps, std::back_inserter(meps), MepDocument);
  return fmt::format(
      R"({{"element-cfm:config":{{"oam":{{"cfm":{{"md":[{{"id":"provider","level":{},"ma":[{{)"
      R"("id":"{}","ccm-interval":"{}","primary-vlan-id":100,"vlan-list":[100],)"
      R"("remote-meps":[{}],"mep":[{}]}}]}}]}}}}}}}})",
      association.level, association.ma, association.interval, fmt::join(association.remotes, ","),
      fmt::join(meps, ","));
}

void Configure(Element& element, const Association& association) {
  const CommandResult loaded = element.Cfmctl({"load", "--replace", "-"}, Document(association));
  ASSERT_EQ(loaded.status, 0) << loaded.error;
}

std::string TableOfWire(const std::filesystem::path& wire) {
  return "eth1 1 wire " + wire.string() + "\n";
}

void ExpectSoon(Element& element, const std::vector<std::string>& conditions) {
  std::vector<std::string> arguments = {"watch", "--timeout", "25"};
  for (const std::string& condition : conditions) {
    arguments.insert(arguments.end(), {"--until", condition});
  }
  const CommandResult result = element.Cfmctl(arguments);
  EXPECT_EQ(result.status, 0) << fmt::format("{}\n", fmt::join(conditions, " and "))
                              << result.output << result.error;
}

void ExpectRecordsSoon(Element& element) {
  ExpectSoon(element, {"mac-address!=ff:ff:ff:ff:ff:ff"});
}

std::multiset<std::string> Records(Element& element) {
  const cfm::agent::Reply reply = FrontEnd(element.RuntimeDirectory()).Call(ReadOf("/status"));
  EXPECT_EQ(reply.errors_size(), 0) << reply.errors(0).message();
  std::multiset<std::string> names;
  Collect(reply.node(), names);
  return names;
}

long Counter(Element& element, const std::string& leaf) {
  const std::string shown = element.Cfmctl({"show", "statistics", "--format", "xml"}).output;
  const std::string tag = "<" + leaf + ">";
  const std::size_t found = shown.find(tag);
  return found == std::string::npos ? -1 : std::stol(shown.substr(found + tag.size()));
}

}  // namespace test
