#include "fail_point.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace failpoint {
namespace {

enum class Action { kKill, kStop, kError, kShort };

constexpr std::array kActions{
    std::pair{std::string_view("kill"), Action::kKill},
    std::pair{std::string_view("stop"), Action::kStop},
    std::pair{std::string_view("error"), Action::kError},
    std::pair{std::string_view("short"), Action::kShort},
};

struct Plan {
  Point point;
  unsigned long skip;
  Action action;
  std::string_view text;
};

[[noreturn]] void Complain(std::string_view text, const char* cause) {
  std::fprintf(stderr, "CFM_FAIL_POINT=%.*s: %s\n", static_cast<int>(text.size()), text.data(),
               cause);
  _exit(2);
}

// Cuts off what stands before the next separator.
std::string_view TakeWord(std::string_view& text, char separator) {
  const std::size_t end = std::min(text.find(separator), text.size());
  const std::string_view word = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return word;
}

bool CanTake(Kind kind, Action action) {
  switch (action) {
    case Action::kKill:
    case Action::kStop:
      return true;
    case Action::kError:
      return CanFail(kind);
    case Action::kShort:
      return CanBeShort(kind);
  }
  return false;
}

int ErrorOf(Kind kind) {
  switch (kind) {
    case Kind::kDisk:
      return ENOSPC;
    case Kind::kSync:
      return EIO;
    case Kind::kStep:
    case Kind::kSocket:
      break;
  }
  return ECONNRESET;
}

Point PointNamed(std::string_view name, std::string_view all) {
  const auto* found =
      std::find_if(kAll.begin(), kAll.end(), [&](const Entry& one) { return one.name == name; });
  if (found == kAll.end()) {
    Complain(all, "there is no point of that name");
  }
  return static_cast<Point>(found - kAll.begin());
}

Plan Parse(std::string_view text) {
  std::string_view rest = text;
  Plan plan{.point = PointNamed(TakeWord(rest, ':'), text),
            .skip = 0,
            .action = Action::kKill,
            .text = text};
  std::string_view word = TakeWord(rest, ':');
  if (!rest.empty()) {
    const auto [end, error] = std::from_chars(word.begin(), word.end(), plan.skip);
    if (error != std::errc() || end != word.end()) {
      Complain(text, "the number of passes to skip is no number");
    }
    word = rest;
  }
  const auto* action = std::find_if(kActions.begin(), kActions.end(),
                                    [&](const auto& one) { return one.first == word; });
  if (action == kActions.end()) {
    Complain(text, "the action is none of kill, stop, error and short");
  }
  plan.action = action->second;
  if (!CanTake(kAll[static_cast<std::size_t>(plan.point)].kind, plan.action)) {
    Complain(text, "only a transfer takes error and short, and a sync error");
  }
  return plan;
}

std::vector<Plan> PlansOfTheProcess() {
  std::vector<Plan> plans;
  const char* text = std::getenv("CFM_FAIL_POINT");
  std::string_view rest = text != nullptr ? text : "";
  while (!rest.empty()) {
    plans.push_back(Parse(TakeWord(rest, ',')));
  }
  return plans;
}

// -1 when nobody wants to know.
int OpenLog() {
  const char* file = std::getenv("CFM_FAIL_POINT_LOG");
  return file != nullptr ? open(file, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600) : -1;
}

// One for the process, and one thread in it.
class Points {
 public:
  Fault Pass(Point point) {
    const auto index = static_cast<std::size_t>(point);
    if (!std::exchange(noted_[index], true)) {
      Log(kAll[index].name);
    }
    const auto plan = std::find_if(plans_.begin(), plans_.end(),
                                   [&](const Plan& each) { return each.point == point; });
    if (plan == plans_.end() || plan->skip-- > 0) {
      return {};
    }
    const Action action = plan->action;
    Log(plan->text);
    plans_.erase(plan);
    return Fail(point, action);
  }

 private:
  void Log(std::string_view text) const {
    if (log_ >= 0) {
      const std::string line = std::string(text) + "\n";
      static_cast<void>(!write(log_, line.data(), line.size()));
    }
  }

  static Fault Fail(Point point, Action action) {
    switch (action) {
      case Action::kKill:
        kill(getpid(), SIGKILL);
        break;
      case Action::kStop:
        kill(getpid(), SIGSTOP);
        break;
      case Action::kError:
        return {.error = ErrorOf(kAll[static_cast<std::size_t>(point)].kind)};
      case Action::kShort:
        return {.is_short = true};
    }
    return {};
  }

  std::vector<Plan> plans_ = PlansOfTheProcess();
  const int log_ = OpenLog();
  std::array<bool, kAll.size()> noted_{};
};

}  // namespace

Fault Pass(Point point) noexcept {
  static Points points;
  return points.Pass(point);
}

}  // namespace failpoint
