#include "confd_client/path_parser.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>

#include "confd_client/error.h"

namespace confd {
namespace {

constexpr bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
constexpr bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}
// In a table, because every read of a leaf comes by here once for each
// character of its path.
constexpr auto kIsNameCharacter = [] {
  std::array<bool, 256> table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    const char c = static_cast<char>(byte);
    table[byte] = IsLetter(c) || IsDigit(c) || c == '-' || c == '.';
  }
  return table;
}();
bool IsNameCharacter(char c) {
  return kIsNameCharacter[static_cast<unsigned char>(c)];
}
bool IsLiteralCharacter(char c) {
  return static_cast<unsigned char>(c) > ' ' &&
         std::string_view("{}\"\\%").find(c) == std::string_view::npos;
}

Key KeyFromText(std::string text) {
  return Key{C_BUF, 0, std::move(text)};
}

class Parser {
 public:
  Parser(std::string_view format, Arguments& arguments) : format_(format), arguments_(arguments) {}

  Path Run() {
    Path path;
    path.reserve(static_cast<std::size_t>(std::ranges::count(format_, '/')));
    do {
      Expect('/', "a '/' is missing before the next node");
      path.push_back(ParseStep());
      if (path.size() > MAXDEPTH) {
        Fail("more than " + std::to_string(MAXDEPTH) + " nodes");
      }
    } while (!AtEnd() && !AtTrailingSlash());
    return path;
  }

 private:
  [[noreturn]] void Fail(const std::string& cause) const { throw PathError(position_, cause); }

  bool AtEnd() const { return position_ == format_.size(); }
  bool AtTrailingSlash() const { return format_.substr(position_) == "/"; }
  // The character here; NUL at the end, which no rule takes.
  char Here() const { return AtEnd() ? '\0' : format_[position_]; }

  bool Skip(char c) {
    if (AtEnd() || Here() != c) {
      return false;
    }
    ++position_;
    return true;
  }

  void Expect(char c, const char* cause) {
    if (!Skip(c)) {
      Fail(cause);
    }
  }

  // The verb after a '%'.
  char Verb(std::string_view allowed, const char* cause) {
    const char verb = Here();
    if (AtEnd() || allowed.find(verb) == std::string_view::npos) {
      Fail(cause);
    }
    ++position_;
    return verb;
  }

  template <typename Predicate>
  std::string_view TakeWhile(Predicate predicate) {
    const std::size_t start = position_;
    while (!AtEnd() && predicate(Here())) {
      ++position_;
    }
    return format_.substr(start, position_ - start);
  }

  std::string StringArgument() {
    const char* text = arguments_.NextString();
    if (text == nullptr) {
      Fail("the argument of %s is null");
    }
    return text;
  }

  Step ParseStep() {
    Step step;
    step.name = ParseName();
    if (Skip('{')) {
      step.keys = ParseKeys();
    } else if (Skip('[')) {
      step.position = ParsePosition();
    }
    return step;
  }

  // An identifier of YANG.
  std::string ParseName() {
    std::string name;
    if (Skip('%')) {
      Verb("s", "only %s can stand for a node's name");
      name = StringArgument();
      if (!std::ranges::all_of(name, IsNameCharacter)) {
        FailForName(name);
      }
    } else {
      name = TakeWhile(IsNameCharacter);
    }
    if (name.empty()) {
      Fail("a node's name is missing");
    }
    if (!IsLetter(name.front())) {
      FailForName(name);
    }
    return name;
  }
  [[noreturn]] void FailForName(const std::string& name) const {
    Fail("'" + name + "' is no node's name");
  }

  std::vector<Key> ParseKeys() {
    std::vector<Key> keys;
    TakeWhile([](char c) { return c == ' '; });
    while (!Skip('}')) {
      if (keys.size() == MAXKEYLEN) {
        Fail("more than " + std::to_string(MAXKEYLEN) + " keys");
      }
      keys.push_back(ParseKey());
      const bool separated = !TakeWhile([](char c) { return c == ' '; }).empty();
      if (!separated && Here() != '}') {
        Fail(AtEnd() ? "a '}' is missing" : "a space or '}' is missing after the key");
      }
    }
    if (keys.empty()) {
      Fail("there is no key between the braces");
    }
    return keys;
  }

  Key ParseKey() {
    if (Skip('%')) {
      return KeyFromVerb(Verb("duxs", "a key takes %d, %u, %s or %x"));
    }
    if (Skip('"')) {
      return KeyFromText(ParseQuoted());
    }
    const std::string_view literal = TakeWhile(IsLiteralCharacter);
    if (literal.empty()) {
      Fail(AtEnd() ? "a '}' is missing" : "this character cannot stand in a key without quotes");
    }
    return KeyFromText(std::string(literal));
  }

  Key KeyFromVerb(char verb) {
    switch (verb) {
      case 'd':
        return KeyFromText(std::to_string(arguments_.NextInt()));
      case 'u':
        return KeyFromText(std::to_string(arguments_.NextUnsigned()));
      case 's':
        return KeyFromText(StringArgument());
      default:
        return KeyFromValue(arguments_.NextValue());
    }
  }

  Key KeyFromValue(const confd_value_t* value) {
    if (value == nullptr) {
      Fail("the argument of %x is null");
    }
    auto key = KeyOf(*value);
    if (!key) {
      Fail("the argument of %x is of type " + std::to_string(value->type) + ", which is no key's");
    }
    return *std::move(key);
  }

  std::string ParseQuoted() {
    std::string text;
    while (!Skip('"')) {
      Skip('\\');
      if (AtEnd()) {
        Fail("a closing '\"' is missing");
      }
      if (Here() == '%') {
        Fail("a verb cannot stand between quotes");
      }
      text += format_[position_++];
    }
    return text;
  }

  std::uint32_t ParsePosition() {
    const std::uint32_t position = Skip('%') ? PositionFromVerb() : PositionFromDigits();
    Expect(']', "a ']' is missing");
    return position;
  }

  std::uint32_t PositionFromVerb() {
    if (Verb("du", "a position takes %d or %u") == 'u') {
      return arguments_.NextUnsigned();
    }
    const int position = arguments_.NextInt();
    if (position < 0) {
      Fail("position " + std::to_string(position) + " is negative");
    }
    return static_cast<std::uint32_t>(position);
  }

  std::uint32_t PositionFromDigits() {
    const std::string_view digits = TakeWhile(IsDigit);
    std::uint32_t position = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), position);
    if (result.ec != std::errc()) {
      Fail("this is no position");
    }
    return position;
  }

  std::string_view format_;
  Arguments& arguments_;
  std::size_t position_ = 0;
};

}  // namespace

Path ParsePath(std::string_view format, Arguments& arguments) {
  return Parser(format, arguments).Run();
}

Path ParseFormat(const char* format, Arguments& arguments) {
  if (format == nullptr) {
    throw ApiError(CONFD_ERR_BADPATH, "the path is null");
  }
  try {
    return ParsePath(format, arguments);
  } catch (const PathError& error) {
    throw ApiError(CONFD_ERR_BADPATH, std::string(format) + ": bad path at character " +
                                          std::to_string(error.Position()) + ": " + error.what());
  }
}

}  // namespace confd
