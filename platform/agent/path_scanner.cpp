#include "path_scanner.h"

#include <confd_lib.h>

#include <cctype>

namespace agentd {
namespace {

class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  Result<std::vector<ScannedStep>> Scan() {
    std::vector<ScannedStep> steps;
    do {
      if (!Take('/') || !Step(steps.emplace_back())) {
        return Refusal();
      }
    } while (at_ < text_.size());
    return steps;
  }

 private:
  bool Take(char c) {
    if (at_ < text_.size() && text_[at_] == c) {
      ++at_;
      return true;
    }
    return false;
  }

  void SkipSpaces() {
    while (Take(' ')) {
    }
  }

  bool Name(std::string& name) {
    const std::size_t begin = at_;
    while (at_ < text_.size() &&
           (std::isalnum(static_cast<unsigned char>(text_[at_])) != 0 ||
            std::string_view("-_.:").find(text_[at_]) != std::string_view::npos)) {
      ++at_;
    }
    name = text_.substr(begin, at_ - begin);
    return !name.empty();
  }

  // A literal ends at its quote, unless that is doubled.
  bool Literal(std::string& value) {
    if (at_ == text_.size() || (text_[at_] != '\'' && text_[at_] != '"')) {
      return false;
    }
    const char quote = text_[at_++];
    while (at_ < text_.size()) {
      const char c = text_[at_++];
      if (c == quote && !Take(quote)) {
        return true;
      }
      value += c;
    }
    return false;
  }

  bool Step(ScannedStep& step) {
    if (!Name(step.name)) {
      return false;
    }
    while (Take('[')) {
      Predicate& predicate = step.predicates.emplace_back();
      SkipSpaces();
      if (!Name(predicate.name)) {
        return false;
      }
      SkipSpaces();
      if (!Take('=')) {
        return false;
      }
      SkipSpaces();
      if (!Literal(predicate.value)) {
        return false;
      }
      SkipSpaces();
      if (!Take(']')) {
        return false;
      }
      predicate.name.erase(0, predicate.name.find(':') + 1);
    }
    return true;
  }

  Problem Refusal() const {
    const std::string rest(text_.substr(at_));
    return {.message = "instance path '" + std::string(text_) + "' is malformed " +
                       (rest.empty() ? "at its end" : "at '" + rest + "'") +
                       "; a path looks like /config/oam/cfm/md[id='east']/level",
            .path = std::string(text_),
            .code = CONFD_ERR_BADPATH};
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

}  // namespace

Result<std::vector<ScannedStep>> ScanPath(std::string_view text) {
  return Scanner(text).Scan();
}

}  // namespace agentd
