#include "hammer_actors.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace test {
namespace {

constexpr const char* kStatus = "/element-cfm:status/oam/cfm";
constexpr const char* kMixed = "commits came during the read: its parts show different commits";
constexpr const char* kGone = " went away during the read";
constexpr const char* kLists[] = {"local", "remote"};
// Steps between two requests, and before somebody hangs up.
constexpr int kMostCommitPause = 24;
constexpr int kMostClearPause = 16;
constexpr int kMostPatience = 30;
constexpr int kMostQuitPause = 30;

std::string RecordPath(const std::string& list, const std::string& id) {
  return fmt::format("{}/{}[id='{}']", kStatus, list, id);
}

bool IsStatistics(const std::string& leaf) {
  return leaf.find("-ccm") != std::string::npos && leaf.find("interval") == std::string::npos;
}

bool SaysGone(const cfm::agent::Reply& reply) {
  return !reply.errors().empty() &&
         std::ranges::all_of(reply.errors(), [](const cfm::agent::Error& error) {
           return error.rule() == "data-missing";
         });
}

// Whether the reply says that it is mixed. Throws for any other complaint.
bool CheckWarnings(const std::string& path, const cfm::agent::Reply& reply) {
  bool is_mixed = false;
  for (const std::string& warning : reply.warnings()) {
    is_mixed = is_mixed || warning == kMixed;
    if (warning != kMixed && !warning.ends_with(kGone)) {
      throw std::runtime_error("read of " + path + ": " + warning);
    }
  }
  return is_mixed;
}

void RequireSuccess(const std::string& what, const cfm::agent::Reply& reply) {
  if (!reply.errors().empty() || !reply.warnings().empty()) {
    throw std::runtime_error(fmt::format(
        "{}: {}", what,
        reply.errors().empty() ? reply.warnings(0)
                               : reply.errors(0).message() + " at " + reply.errors(0).path()));
  }
}

}  // namespace

// All actors --------------------------------------------------------------------

HammerActor::HammerActor(HammerScene& scene, std::uint32_t seed)
    : scene_(scene),
      random_(seed),
      front_end_(std::make_unique<FrontEnd>(scene.runtime_directory)) {}

int HammerActor::Below(int limit) {
  return static_cast<int>(random_() % static_cast<std::uint32_t>(limit));
}

std::optional<RecordView::Records::value_type> HammerActor::SomeRecord() {
  const RecordView::Records& records = scene_.view.All();
  if (records.empty()) {
    return std::nullopt;
  }
  return *std::next(records.begin(), Below(static_cast<int>(records.size())));
}

void HammerActor::Step(bool may_begin) {
  if (is_waiting_) {
    OnStepWhileWaiting();
  } else if (pause_ > 0) {
    --pause_;
  } else if (may_begin) {
    Begin();
  }
}

void HammerActor::Receive() {
  is_waiting_ = false;
  OnReply(front_end_->Receive());
}

void HammerActor::Send(const cfm::agent::Request& request) {
  front_end_->Send(request);
  is_waiting_ = true;
}

void HammerActor::HangUp() {
  front_end_ = std::make_unique<FrontEnd>(scene_.runtime_directory);
  is_waiting_ = false;
}

// Readers -----------------------------------------------------------------------

void HammerReader::Begin() {
  static constexpr ChooseTarget kTargets[] = {
      &HammerReader::ChooseTree, &HammerReader::ChooseRecord,     &HammerReader::ChooseRecord,
      &HammerReader::ChooseLeaf, &HammerReader::ChooseLeaf,       &HammerReader::ChooseLeaf,
      &HammerReader::ChooseLeaf, &HammerReader::ChooseStatistics, &HammerReader::ChooseNoRecord};
  Read(kTargets[Below(static_cast<int>(std::size(kTargets)))]);
}

void HammerReader::Read(ChooseTarget choose) {
  id_.reset();
  leaf_.clear();
  known_.clear();
  (this->*choose)();
  for (const auto& record : Scene().view.All()) {
    const bool is_meant = list_.empty() || (record.first.list == list_ &&
                                            id_.value_or(record.first.id) == record.first.id);
    if (is_meant) {
      known_.insert(record);
    }
  }
  first_version_ = Scene().history->Acknowledged();
  cfm::agent::Request request;
  cfm::agent::Get& get = *request.mutable_get();
  get.set_datastore(cfm::agent::DATASTORE_OPERATIONAL);
  get.set_path(path_);
  get.set_format(cfm::agent::FORMAT_TREE);
  Send(request);
}

void HammerReader::ChooseTree() {
  const int choice = Below(3);
  list_ = choice == 0 ? "" : kLists[choice - 1];
  path_ = list_.empty() ? kStatus : fmt::format("{}/{}", kStatus, list_);
  ++Scene().counts.tree_reads;
}

void HammerReader::ChooseRecord() {
  const auto record = SomeRecord();
  if (!record) {
    return ChooseNoRecord();
  }
  list_ = record->first.list;
  id_ = record->first.id;
  path_ = RecordPath(list_, *id_);
  ++Scene().counts.record_reads;
}

void HammerReader::ChooseNoRecord() {
  list_ = kLists[Below(2)];
  id_ = std::to_string(1'000'000 + Below(10));
  path_ = RecordPath(list_, *id_);
  ++Scene().counts.record_reads;
}

void HammerReader::AimAtLeaf(const RecordView::Key& key, const std::string& leaf) {
  list_ = key.list;
  id_ = key.id;
  leaf_ = leaf;
  path_ = RecordPath(list_, *id_) + "/" + leaf;
  ++Scene().counts.leaf_reads;
  Scene().counts.statistics_reads += IsStatistics(leaf) ? 1 : 0;
}

void HammerReader::ChooseLeaf() {
  const auto record = SomeRecord();
  if (!record) {
    return ChooseNoRecord();
  }
  const auto leaves = LeavesOf(record->first.list);
  AimAtLeaf(record->first,
            leaves[static_cast<std::size_t>(Below(static_cast<int>(leaves.size())))].name);
}

void HammerReader::ChooseStatistics() {
  static constexpr const char* kLocal[] = {"mep-ccms-sent", "mep-ccms-received",
                                           "mep-ccm-sequence-errors"};
  const auto record = SomeRecord();
  if (!record) {
    return ChooseNoRecord();
  }
  AimAtLeaf(record->first, record->first.list == "local" ? kLocal[Below(3)] : "rmep-ccms-received");
}

bool HammerReader::WasSettled(const RecordView::Key& key) const {
  const auto known = known_.find(key);
  return known != known_.end() && known->second.identity.has_value();
}

std::vector<Answer> HammerReader::AnswersIn(const cfm::agent::Node& node) const {
  std::vector<Answer> answers;
  if (leaf_.empty()) {
    for (StatusRecord& record : RecordsIn(node)) {
      const auto identity = record.Identity();
      const bool is_settled = WasSettled({record.list, record.id});
      answers.push_back({std::move(record), identity, is_settled});
    }
    CheckAim(answers);
    return answers;
  }
  if (node.name() != leaf_) {
    throw std::runtime_error("the reply tells of " + node.name());
  }
  StatusRecord record{.list = list_, .id = *id_, .leaves = {}};
  if (node.kind() == cfm::agent::Node::LEAF) {
    record.leaves[leaf_] = {node.value()};
  }
  for (const cfm::agent::Node& element : node.children()) {
    record.leaves[leaf_].push_back(element.value());
  }
  for (auto& [name, values] : record.leaves) {
    std::ranges::sort(values);
  }
  const auto known = known_.find({list_, *id_});
  if (known != known_.end() && known->second.identity) {
    answers.push_back({std::move(record), known->second.identity, true});
  } else {
    CheckValues(record);  // nobody can say whose it is
  }
  return answers;
}

// Whether the records are those that were asked for, and still those that they
// were then.
void HammerReader::CheckAim(const std::vector<Answer>& answers) const {
  if (id_ && answers.size() != 1) {
    throw std::runtime_error(fmt::format("the reply has {} records", answers.size()));
  }
  for (const Answer& answer : answers) {
    const StatusRecord& record = answer.record;
    const bool is_meant =
        (list_.empty() || list_ == record.list) && id_.value_or(record.id) == record.id;
    if (!is_meant) {
      throw std::runtime_error(fmt::format("the reply tells of {}[id={}]", record.list, record.id));
    }
    if (answer.is_settled && known_.at({record.list, record.id}).identity != answer.identity) {
      throw std::runtime_error(fmt::format("{}[id={}] became another's", record.list, record.id));
    }
  }
}

void HammerReader::NoteMissing(const std::vector<Answer>& answers) {
  for (const auto& [key, known] : known_) {
    const bool is_there = std::ranges::any_of(answers, [&key = key](const Answer& answer) {
      return answer.record.list == key.list && answer.record.id == key.id;
    });
    if (!is_there) {
      Scene().view.NoteMissing(key, known);
    }
  }
}

void HammerReader::OnReply(const cfm::agent::Reply& reply) {
  const ConfigurationHistory& history = *Scene().history;
  if (id_ && SaysGone(reply)) {
    ++Scene().counts.gone;
    return NoteMissing({});
  }
  if (!reply.errors().empty()) {
    throw std::runtime_error("read of " + path_ + ": " + reply.errors(0).message());
  }
  const bool is_mixed = CheckWarnings(path_, reply);
  Scene().counts.mixed += is_mixed ? 1 : 0;
  try {
    const std::vector<Answer> answers = AnswersIn(reply.node());
    CheckAnswers(answers, {leaf_, history.SinceAcknowledged(first_version_), is_mixed}, history);
    if (leaf_.empty()) {
      NoteMissing(answers);
    }
  } catch (const std::runtime_error& error) {
    throw std::runtime_error("read of " + path_ + ": " + error.what());
  }
}

// Readers who hang up -----------------------------------------------------------

void HammerQuitter::Begin() {
  if (has_cleared_) {
    patience_ = Below(kMostPatience);
    return Read(&HammerQuitter::ChooseStatistics);
  }
  cfm::agent::Request request;
  request.mutable_invoke()->set_operation("clear-statistics");
  ++Scene().counts.clears;
  Send(request);
}

void HammerQuitter::OnReply(const cfm::agent::Reply& reply) {
  if (has_cleared_) {
    HammerReader::OnReply(reply);
  } else {
    RequireSuccess("clear-statistics", reply);
  }
  has_cleared_ = !has_cleared_;
}

void HammerQuitter::OnStepWhileWaiting() {
  if (has_cleared_ && patience_-- == 0) {
    ++Scene().counts.hang_ups;
    HangUp();
    has_cleared_ = false;
    Pause(Below(kMostQuitPause));
  }
}

// The configurator --------------------------------------------------------------

HammerConfigurator::HammerConfigurator(HammerScene& scene, std::uint32_t seed,
                                       const Configuration& fixed)
    : HammerActor(scene, seed), configuration_(seed), fixed_(fixed) {}

void HammerConfigurator::Begin() {
  cfm::agent::Request request;
  *request.mutable_edit() = configuration_.NextCommit();
  Configuration next = configuration_.Current();
  next.insert(fixed_.begin(), fixed_.end());
  Scene().history->Submit(next);
  ++Scene().counts.commits;
  Send(request);
}

void HammerConfigurator::OnReply(const cfm::agent::Reply& reply) {
  RequireSuccess("commit", reply);
  Scene().history->Acknowledge();
  Pause(Below(kMostCommitPause));
}

// Those who clear ---------------------------------------------------------------

void HammerClearer::Begin() {
  cfm::agent::Request request;
  cfm::agent::Invoke& invoke = *request.mutable_invoke();
  invoke.set_operation("clear-statistics");
  const auto add = [&invoke](const char* name, const std::string& value) {
    cfm::agent::Invoke::Parameter& parameter = *invoke.add_parameters();
    parameter.set_name(name);
    parameter.set_value(value);
  };
  const auto record = SomeRecord();
  const RecordIdentity identity =
      record && record->second.identity && !OneIn(8)
          ? *record->second.identity
          : RecordIdentity{.list = "local", .md = "nobody's", .ma = "nobody's", .mep = 0};
  const int given = Below(8);  // every combination
  if ((given & 1) != 0) {
    add("md", identity.md);
  }
  if ((given & 2) != 0) {
    add("ma", identity.ma);
  }
  if ((given & 4) != 0) {
    add("mep", std::to_string(identity.mep));
  }
  ++Scene().counts.clears;
  Send(request);
}

void HammerClearer::OnReply(const cfm::agent::Reply& reply) {
  RequireSuccess("clear-statistics", reply);
  Pause(Below(kMostClearPause));
}

}  // namespace test
