// Two elements on virtual wires and, all at once, readers of every leaf of
// their status, commits, clearing of statistics, readers that hang up, and
// wires that are cut.
//
// Now and then everybody waits for their replies; then the status is exactly
// that of the configuration. At the end every process stops cleanly.
//
// A run is told by its seed as far as the timing of six processes goes: every
// front end does the same in the same order.

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

#include "hammer_options.h"
#include "hammered_element.h"
#include "temporary_directory.h"

namespace {

using test::HammerCounts;
using test::HammeredElement;

constexpr std::uint64_t kOperationsBetweenRests = 500;
constexpr int kMostStepsBetweenCuts = 400;

// The wires between the interfaces of the same name.
class Wires {
 public:
  explicit Wires(std::uint32_t seed) : random_(seed) {}

  std::string InterfaceTable() const {
    std::string table;
    int id = 0;
    for (const char* interface : test::kInterfaces) {
      table += fmt::format("{} {} wire {}\n", interface, ++id, Path(interface).string());
    }
    return table;
  }
  // Cuts one, or mends one that is cut, every now and then.
  void Step() {
    if (steps_-- > 0) {
      return;
    }
    steps_ = static_cast<int>(random_() % kMostStepsBetweenCuts);
    const auto path = Path(test::kInterfaces[random_() % std::size(test::kInterfaces)]);
    const std::filesystem::path cut = path.string() + ".cut";
    if (!std::filesystem::remove(cut)) {
      std::ofstream{cut};
      ++cuts_;
    }
  }
  std::uint64_t Cuts() const { return cuts_; }

 private:
  std::filesystem::path Path(const char* interface) const {
    return directory_.Path() / (std::string(interface) + ".wire");
  }

  test::TemporaryDirectory directory_;
  std::mt19937 random_;
  int steps_ = kMostStepsBetweenCuts;
  std::uint64_t cuts_ = 0;
};

class Hammer : public testing::Test {
 protected:
  Hammer() : wires_(options_.seed) {
    fmt::print("CFM_HAMMER_SEED={} {}\n", options_.seed,
               options_.time ? fmt::format("CFM_HAMMER_SECONDS={}", options_.time->count())
                             : fmt::format("CFM_HAMMER_OPERATIONS={}", options_.operations));
    const std::string table = wires_.InterfaceTable();
    elements_.push_back(std::make_unique<HammeredElement>(options_.seed, table, 11, 12));
    elements_.push_back(std::make_unique<HammeredElement>(options_.seed, table, 12, 11));
  }

  std::uint64_t Operations() const {
    std::uint64_t operations = 0;
    for (const auto& element : elements_) {
      operations += element->Counts().Operations();
    }
    return operations;
  }
  bool IsOver() const {
    return options_.time ? std::chrono::steady_clock::now() - begin_ >= *options_.time
                         : Operations() >= options_.operations;
  }
  bool IsAnybodyWaiting() const { return elements_[0]->IsWaiting() || elements_[1]->IsWaiting(); }

  // Waits for what happens next and works it.
  void WorkOnce() {
    std::vector<pollfd> events;
    for (const auto& element : elements_) {
      element->AddTo(events);
    }
    const auto patience = std::chrono::duration_cast<std::chrono::milliseconds>(test::kPatience);
    if (poll(events.data(), events.size(), static_cast<int>(patience.count())) < 1) {
      throw std::runtime_error("a request was not answered");
    }
    for (const pollfd& event : events) {
      if (event.revents != 0) {
        elements_[0]->Work(event.fd);
        elements_[1]->Work(event.fd);
      }
    }
  }
  void HammerUntilRest() {
    const std::uint64_t end = Operations() + kOperationsBetweenRests;
    while (Operations() < end && !IsOver()) {
      Step(true);
      WorkOnce();
    }
    while (IsAnybodyWaiting()) {
      Step(false);
      if (IsAnybodyWaiting()) {
        WorkOnce();
      }
    }
  }
  void Step(bool may_begin) {
    for (const auto& element : elements_) {
      element->Step(may_begin);
    }
    wires_.Step();
  }

  void HammerAll() {
    while (!IsOver()) {
      HammerUntilRest();
      for (const auto& element : elements_) {
        element->CheckAtRest();
      }
      ++rests_;
    }
  }

  void Report(const HammerCounts& counts) {
    fmt::print(
        "reads: {} of lists, {} of records, {} of leaves ({} of them statistics); {} gone, {} "
        "mixed, {} hung up; {} commits, {} clears\n",
        counts.tree_reads, counts.record_reads, counts.leaf_reads, counts.statistics_reads,
        counts.gone, counts.mixed, counts.hang_ups, counts.commits, counts.clears);
  }

  const test::HammerOptions options_ = test::HammerOptionsFromEnvironment();
  const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
  Wires wires_;
  std::vector<std::unique_ptr<HammeredElement>> elements_;
  std::uint64_t rests_ = 0;
};

TEST_F(Hammer, StatusStaysRightWhateverHappensAtOnce) {
  try {
    HammerAll();
  } catch (const std::exception& error) {
    FAIL() << error.what() << '\n' << elements_[0]->Logs() << elements_[1]->Logs();
  }
  for (const auto& element : elements_) {
    Report(element->Counts());
    const test::DelayedReplies delayed = element->Stop();
    fmt::print("delayed replies: {}\n", delayed.promised);
    EXPECT_EQ(delayed.promised, delayed.given);
    EXPECT_GT(delayed.promised, 0U);
  }
  fmt::print("wires cut: {}; rests: {}\n", wires_.Cuts(), rests_);
}

}  // namespace
