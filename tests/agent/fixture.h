// What the agent's tests share: the model, documents, edits, private
// directories.
#ifndef TESTS_AGENT_FIXTURE_H
#define TESTS_AGENT_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "agent.pb.h"
#include "datastore.h"
#include "model.h"
#include "store.h"

namespace agentd::test {

namespace pb = cfm::agent;

const Model& TheModel();

class TempDirectory {
 public:
  TempDirectory();
  ~TempDirectory();
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// JSON document of MD "east" (level 3) with MA "blue" (VLANs 10 and 20, the
// first its primary, remote MEPs 100 and 101) with MEP 5 whose continuity
// check is on with defaults.
std::string EastDocument();
// The same MA with more or less in its MEP list and other text replaced.
std::string Replaced(std::string text, const std::string& what, const std::string& with);

pb::EditOperation Operation(pb::EditOperation::Operation operation, const std::string& path);
pb::EditOperation SetLeaf(const std::string& path, const std::string& value);
pb::EditOperation Document(const std::string& json,
                           pb::EditOperation::Operation operation = pb::EditOperation::MERGE);
pb::Edit EditOf(const std::vector<pb::EditOperation>& operations);

// "path: message [rule]" of each.
std::vector<std::string> Texts(const Problems& problems);

inline constexpr const char* kEast = "/config/oam/cfm/md[id='east']";
inline constexpr const char* kBlue = "/config/oam/cfm/md[id='east']/ma[id='blue']";
inline constexpr const char* kMep5 = "/config/oam/cfm/md[id='east']/ma[id='blue']/mep[id='5']";
inline constexpr const char* kCheck5 =
    "/config/oam/cfm/md[id='east']/ma[id='blue']/mep[id='5']/continuity-check";

// A datastore on a store of its own.
class DatastoreTest : public ::testing::Test {
 protected:
  // Edits, validates, publishes; problems end the test.
  void Commit(const std::vector<pb::EditOperation>& operations);
  Problems TryCommit(const std::vector<pb::EditOperation>& operations);
  // What a commit of the edits would change.
  std::unique_ptr<Difference> Compare(const std::vector<pb::EditOperation>& operations);

  TempDirectory directory_;
  Store store_{directory_ / "running.db"};
  Datastore datastore_{TheModel(), store_};
};

}  // namespace agentd::test

#endif
