#include "fail_point.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

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
};

[[noreturn]] void Complain(std::string_view text, const char* cause) {
  std::fprintf(stderr, "CFM_FAIL_POINT=%.*s: %s\n", static_cast<int>(text.size()), text.data(),
               cause);
  _exit(2);
}

// Cuts off what stands before the next colon.
std::string_view TakeWord(std::string_view& text) {
  const std::size_t end = std::min(text.find(':'), text.size());
  const std::string_view word = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return word;
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
  Plan plan{.point = PointNamed(TakeWord(rest), text), .skip = 0, .action = Action::kKill};
  std::string_view word = TakeWord(rest);
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
  const bool is_step = kAll[static_cast<std::size_t>(plan.point)].kind == Kind::kStep;
  if (is_step && plan.action != Action::kKill && plan.action != Action::kStop) {
    Complain(text, "only a transfer takes error and short");
  }
  return plan;
}

std::optional<Plan> PlanOfTheProcess() {
  const char* text = std::getenv("CFM_FAIL_POINT");
  return text != nullptr && *text != '\0' ? std::optional(Parse(text)) : std::nullopt;
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
    Note(point);
    if (!plan_ || plan_->point != point || plan_->skip-- > 0) {
      return {};
    }
    const Action action = plan_->action;
    plan_.reset();
    return Fail(point, action);
  }

 private:
  void Note(Point point) {
    const auto index = static_cast<std::size_t>(point);
    if (log_ >= 0 && !std::exchange(noted_[index], true)) {
      const std::string line = std::string(kAll[index].name) + "\n";
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
        return {.error = kAll[static_cast<std::size_t>(point)].kind == Kind::kDisk ? ENOSPC
                                                                                   : ECONNRESET};
      case Action::kShort:
        return {.is_short = true};
    }
    return {};
  }

  std::optional<Plan> plan_ = PlanOfTheProcess();
  const int log_ = OpenLog();
  std::array<bool, kAll.size()> noted_{};
};

}  // namespace

Fault Pass(Point point) noexcept {
  static Points points;
  return points.Pass(point);
}

}  // namespace failpoint
