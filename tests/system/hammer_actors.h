// Front ends that hammer one agent, each with one request under way: readers
// of status, some of whom do not wait for the reply, a configurator, and those who
// clear statistics.
#ifndef TESTS_SYSTEM_HAMMER_ACTORS_H
#define TESTS_SYSTEM_HAMMER_ACTORS_H

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <string>

#include "expected_status.h"
#include "front_end.h"
#include "random_configuration.h"
#include "record_view.h"
#include "status_judge.h"

namespace test {

struct HammerCounts {
  std::uint64_t tree_reads = 0;  // both lists or one
  std::uint64_t record_reads = 0;
  std::uint64_t leaf_reads = 0;
  std::uint64_t statistics_reads = 0;  // of those
  std::uint64_t gone = 0;              // replies that say so
  std::uint64_t mixed = 0;             // ... that parts show different commits
  std::uint64_t hang_ups = 0;
  std::uint64_t commits = 0;
  std::uint64_t clears = 0;

  std::uint64_t Operations() const {
    return tree_reads + record_reads + leaf_reads + commits + clears;
  }
};

// What the actors of one element share.
struct HammerScene {
  std::filesystem::path runtime_directory;
  RecordView view;
  std::unique_ptr<ConfigurationHistory> history;
  HammerCounts counts;
};

class HammerActor {
 public:
  HammerActor(HammerScene& scene, std::uint32_t seed);
  virtual ~HammerActor() = default;

  HammerActor(const HammerActor&) = delete;
  HammerActor& operator=(const HammerActor&) = delete;

  int Fd() const { return front_end_->Fd(); }
  bool IsWaiting() const { return is_waiting_; }
  // Something happened somewhere: time goes by in such steps. May send the
  // next request.
  void Step(bool may_begin);
  // The reply is there. Throws std::runtime_error when it is wrong.
  void Receive();

 protected:
  void Send(const cfm::agent::Request& request);
  // Ends the connection, and the wait, without a reply.
  void HangUp();
  int Below(int limit);
  bool OneIn(int n) { return Below(n) == 0; }
  // Steps until the next request.
  void Pause(int steps) { pause_ = steps; }
  // A record that is known now, if there is any.
  std::optional<RecordView::Records::value_type> SomeRecord();
  HammerScene& Scene() { return scene_; }

 private:
  virtual void Begin() = 0;
  virtual void OnReply(const cfm::agent::Reply& reply) = 0;
  virtual void OnStepWhileWaiting() {}

  HammerScene& scene_;
  std::mt19937 random_;
  std::unique_ptr<FrontEnd> front_end_;
  bool is_waiting_ = false;
  int pause_ = 0;
};

class HammerReader : public HammerActor {
 public:
  using HammerActor::HammerActor;

 protected:
  using ChooseTarget = void (HammerReader::*)();

  void Begin() override;
  void OnReply(const cfm::agent::Reply& reply) override;
  void Read(ChooseTarget choose);

  void ChooseTree();
  void ChooseRecord();
  void ChooseNoRecord();
  void ChooseLeaf();
  void ChooseStatistics();

 private:
  void AimAtLeaf(const RecordView::Key& key, const std::string& leaf);
  std::vector<Answer> AnswersIn(const cfm::agent::Node& node) const;
  void CheckAim(const std::vector<Answer>& answers) const;
  bool WasSettled(const RecordView::Key& key) const;
  void NoteMissing(const std::vector<Answer>& answers);

  // What the request under way asks for: a list or all, a record, a leaf of it.
  std::string path_;
  std::string list_;
  std::optional<std::string> id_;
  std::string leaf_;
  std::size_t first_version_ = 0;
  RecordView::Records known_;  // of what was asked for, when it was asked
};

// Clears all statistics, so that the reply to its next read is delayed, and
// mostly does not wait for that.
class HammerQuitter final : public HammerReader {
 public:
  using HammerReader::HammerReader;

 private:
  void Begin() override;
  void OnReply(const cfm::agent::Reply& reply) override;
  void OnStepWhileWaiting() override;

  bool has_cleared_ = false;
  int patience_ = 0;  // steps until it hangs up
};

class HammerConfigurator final : public HammerActor {
 public:
  // `fixed` is there already and stays.
  HammerConfigurator(HammerScene& scene, std::uint32_t seed, const Configuration& fixed);

 private:
  void Begin() override;
  void OnReply(const cfm::agent::Reply& reply) override;

  RandomConfiguration configuration_;
  Configuration fixed_;
};

class HammerClearer final : public HammerActor {
 public:
  using HammerActor::HammerActor;

 private:
  void Begin() override;
  void OnReply(const cfm::agent::Reply& reply) override;
};

}  // namespace test

#endif
