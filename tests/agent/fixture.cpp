#include "fixture.h"

#include <cstdlib>
#include <stdexcept>

#include "edit.h"

namespace agentd::test {

const Model& TheModel() {
  static const Model model(TEST_YANG_DIR);
  return model;
}

TempDirectory::TempDirectory() {
  std::string name = (std::filesystem::temp_directory_path() / "agentd-test-XXXXXX").native();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("make a temporary directory");
  }
  path_ = name;
}

TempDirectory::~TempDirectory() {
  std::filesystem::remove_all(path_);
}

std::string EastDocument() {
  return R"({"element-cfm:config":{"oam":{"cfm":{"md":[{"id":"east","level":3,"ma":[{
    "id":"blue","ccm-interval":"1s","primary-vlan-id":10,"vlan-list":[10,20],
    "remote-meps":[100,101],
    "mep":[{"id":5,"interface":"eth0","direction":"up",
            "continuity-check":{"cci-enabled":[null]}}]}]}]}}}})";
}

std::string Replaced(std::string text, const std::string& what, const std::string& with) {
  const std::size_t at = text.find(what);
  if (at == std::string::npos) {
    throw std::logic_error("'" + what + "' is not in the document");
  }
  return text.replace(at, what.size(), with);
}

pb::EditOperation Operation(pb::EditOperation::Operation operation, const std::string& path) {
  pb::EditOperation edit;
  edit.set_operation(operation);
  edit.set_path(path);
  return edit;
}

pb::EditOperation SetLeaf(const std::string& path, const std::string& value) {
  pb::EditOperation edit = Operation(pb::EditOperation::MERGE, path);
  edit.set_value(value);
  return edit;
}

pb::EditOperation Document(const std::string& json, pb::EditOperation::Operation operation) {
  pb::EditOperation edit;
  edit.set_operation(operation);
  edit.set_document(json);
  edit.set_format(json.find('<') == 0 ? pb::FORMAT_XML : pb::FORMAT_JSON);
  return edit;
}

pb::Edit EditOf(const std::vector<pb::EditOperation>& operations) {
  pb::Edit edit;
  for (const auto& operation : operations) {
    *edit.add_operations() = operation;
  }
  return edit;
}

std::vector<std::string> Texts(const Problems& problems) {
  std::vector<std::string> texts;
  for (const Problem& problem : problems) {
    texts.push_back(problem.path + ": " + problem.message + " [" + problem.rule + "]");
  }
  return texts;
}

void DatastoreTest::Commit(const std::vector<pb::EditOperation>& operations) {
  ASSERT_THAT(Texts(TryCommit(operations)), ::testing::IsEmpty());
}

Problems DatastoreTest::TryCommit(const std::vector<pb::EditOperation>& operations) {
  Draft draft = datastore_.NewDraft();
  if (Problems problems = ApplyEdits(TheModel(), draft, EditOf(operations)); !problems.empty()) {
    return problems;
  }
  auto prepared = datastore_.Prepare(std::move(draft));
  return prepared ? datastore_.Publish(*prepared) : prepared.Why();
}

std::unique_ptr<Difference> DatastoreTest::Compare(
    const std::vector<pb::EditOperation>& operations) {
  Draft draft = datastore_.NewDraft();
  const Problems edit = ApplyEdits(TheModel(), draft, EditOf(operations));
  EXPECT_THAT(Texts(edit), ::testing::IsEmpty());
  auto prepared = datastore_.Prepare(std::move(draft));
  if (!prepared) {
    ADD_FAILURE() << ::testing::PrintToString(Texts(prepared.Why()));
    return nullptr;
  }
  return std::move(prepared->difference);
}

}  // namespace agentd::test
