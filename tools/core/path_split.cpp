// The text of a path cut into steps; what the steps mean is path.cpp's.
#include <fmt/format.h>

#include <cctype>

#include "path.h"

namespace cfmctl {
namespace {

class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  std::vector<PathStep> Steps() {
    std::vector<PathStep> steps;
    Skip('/');
    while (!AtEnd()) {
      steps.push_back(Step());
      if (!AtEnd() && !Skip('/')) {
        Fail(fmt::format("expected / before \"{}\"", text_.substr(at_)));
      }
    }
    return steps;
  }

 private:
  PathStep Step() {
    PathStep step{Name(), std::nullopt};
    if (Skip('{')) {
      step.key = BracedKey();
    } else if (Skip('[')) {
      step.key = Predicate(step.name);
    }
    return step;
  }

  std::string Name() {
    std::string_view name = Word();
    if (!AtEnd() && text_[at_] == ':') {  // the module's prefix
      ++at_;
      name = Word();
    }
    return std::string(name);
  }

  std::string_view Word() {
    const std::size_t begin = at_;
    while (!AtEnd() && (std::isalnum(static_cast<unsigned char>(text_[at_])) != 0 ||
                        text_[at_] == '-' || text_[at_] == '_' || text_[at_] == '.')) {
      ++at_;
    }
    if (at_ == begin) {
      Fail(AtEnd() ? "a node name is missing at the end"
                   : fmt::format("a node name is missing before \"{}\"", text_.substr(at_)));
    }
    return text_.substr(begin, at_ - begin);
  }

  std::string BracedKey() {
    if (!AtEnd() && (text_[at_] == '\'' || text_[at_] == '"')) {
      std::string key = Quoted(text_[at_] == '"' ? Escapes::kBackslash : Escapes::kNone);
      Expect('}');
      return key;
    }
    const std::size_t end = text_.find('}', at_);
    if (end == std::string_view::npos) {
      Fail("a { has no }");
    }
    std::string key(text_.substr(at_, end - at_));
    at_ = end + 1;
    return key;
  }

  // [id='east'] of a list entry, [.='10'] of a leaf-list element.
  std::string Predicate(std::string_view list) {
    SkipSpace();
    const std::string_view key_leaf = Word();
    if (key_leaf != "id" && key_leaf != ".") {
      Fail(fmt::format("{} has no key \"{}\": write {}[id='...']", list, key_leaf, list));
    }
    SkipSpace();
    Expect('=');
    SkipSpace();
    if (AtEnd() || (text_[at_] != '\'' && text_[at_] != '"')) {
      Fail(fmt::format("the key of {} must be quoted: {}[{}='...']", list, list, key_leaf));
    }
    std::string key = Quoted(Escapes::kDoubled);
    SkipSpace();
    Expect(']');
    return key;
  }

  // How a quote stands inside quotes of its own kind: not at all, behind a
  // backslash, twice.
  enum class Escapes { kNone, kBackslash, kDoubled };

  std::string Quoted(Escapes escapes) {
    const char quote = text_[at_++];
    std::string value;
    while (!AtEnd() && (text_[at_] != quote || IsEscape(escapes, quote))) {
      if (IsEscape(escapes, quote)) {
        ++at_;
      }
      value += text_[at_++];
    }
    if (AtEnd()) {
      Fail(fmt::format("a {} has no closing {}", quote, quote));
    }
    ++at_;
    return value;
  }

  bool IsEscape(Escapes escapes, char quote) const {
    if (at_ + 1 >= text_.size()) {
      return false;
    }
    const char c = text_[at_];
    const char next = text_[at_ + 1];
    return (escapes == Escapes::kBackslash && c == '\\' && (next == quote || next == '\\')) ||
           (escapes == Escapes::kDoubled && c == quote && next == quote);
  }

  bool AtEnd() const { return at_ >= text_.size(); }
  bool Skip(char wanted) {
    const bool found = !AtEnd() && text_[at_] == wanted;
    at_ += found ? 1 : 0;
    return found;
  }
  void SkipSpace() {
    while (Skip(' ')) {
    }
  }
  void Expect(char wanted) {
    if (!Skip(wanted)) {
      Fail(AtEnd() ? fmt::format("a {} is missing at the end", wanted)
                   : fmt::format("expected {} before \"{}\"", wanted, text_.substr(at_)));
    }
  }
  [[noreturn]] void Fail(const std::string& why) const {
    throw PathError(fmt::format("path \"{}\": {}", text_, why));
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

}  // namespace

std::vector<PathStep> SplitPath(std::string_view text) {
  return Scanner(text).Steps();
}

}  // namespace cfmctl
