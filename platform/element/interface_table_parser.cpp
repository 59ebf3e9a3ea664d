// Text of the interface table to values.
#include <net/if.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <optional>
#include <system_error>
#include <utility>

#include "interface_table.h"

namespace elem {
namespace {

constexpr std::size_t kMaxLineBytes = 1024;
constexpr std::size_t kMinFields = 3;
constexpr std::size_t kMaxFields = 4;
constexpr std::string_view kBlanks = " \t\r";

// What is wrong with a line; the place is added where it is known.
struct LineError {
  std::string text;
};

[[noreturn]] void Reject(std::string text) {
  throw LineError{std::move(text)};
}

std::string Quoted(std::string_view text) {
  return "'" + std::string(text) + "'";
}

void CheckBytes(std::string_view line) {
  if (line.size() > kMaxLineBytes) {
    Reject("line of " + std::to_string(line.size()) + " bytes, at most " +
           std::to_string(kMaxLineBytes) + " are allowed");
  }
  const bool binary = std::ranges::any_of(line, [](char character) {
    const auto byte = static_cast<unsigned char>(character);
    return (byte < 0x20 && kBlanks.find(character) == std::string_view::npos) || byte == 0x7f;
  });
  if (binary) {
    Reject("control character; the interface table is a text file");
  }
}

std::vector<std::string_view> Fields(std::string_view line) {
  std::vector<std::string_view> fields;
  while (true) {
    const std::size_t begin = line.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos || line[begin] == '#') {
      return fields;
    }
    line.remove_prefix(begin);
    const std::size_t size = std::min(line.find_first_of(kBlanks), line.size());
    fields.push_back(line.substr(0, size));
    line.remove_prefix(size);
  }
}

std::uint32_t ParseLimid(std::string_view text) {
  std::uint32_t limid = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), limid);
  if (error != std::errc() || end != text.data() + text.size() || limid == 0) {
    Reject("logical interface id " + Quoted(text) + " is not a number from 1 to 4294967295");
  }
  return limid;
}

std::string WireArgument(std::string_view /*name*/, std::optional<std::string_view> argument) {
  if (!argument) {
    Reject("a wire needs the path of its socket after the kind");
  }
  // Two elements with different working directories would miss each other.
  if (!argument->starts_with('/')) {
    Reject("path " + Quoted(*argument) + " of a wire is relative; write it from the root, as in " +
           "/run/cfm/wire");
  }
  return std::string(*argument);
}

std::string LinuxArgument(std::string_view name, std::optional<std::string_view> argument) {
  const std::string_view device = argument.value_or(name);
  if (device.size() >= IFNAMSIZ) {
    Reject("device name " + Quoted(device) + " is longer than the " + std::to_string(IFNAMSIZ - 1) +
           " characters that Linux allows");
  }
  return std::string(device);
}

struct Kind {
  std::string_view name;
  PortKind kind;
  std::string (*argument)(std::string_view name, std::optional<std::string_view> argument);
};

constexpr std::array<Kind, 2> kKinds{{
    {"wire", PortKind::kWire, WireArgument},
    {"linux", PortKind::kLinux, LinuxArgument},
}};

const Kind& ParseKind(std::string_view text) {
  const auto* const found =
      std::ranges::find_if(kKinds, [text](const Kind& kind) { return kind.name == text; });
  if (found == kKinds.end()) {
    Reject("kind " + Quoted(text) + " is unknown; it is wire or linux");
  }
  return *found;
}

Interface ParseInterface(const std::vector<std::string_view>& fields) {
  if (fields.size() < kMinFields || fields.size() > kMaxFields) {
    Reject(std::to_string(fields.size()) + " fields; a line is: name limid kind [argument]");
  }
  const Kind& kind = ParseKind(fields[2]);
  const auto argument = fields.size() == kMaxFields ? std::optional(fields[3]) : std::nullopt;
  return {std::string(fields[0]), ParseLimid(fields[1]), kind.kind,
          kind.argument(fields[0], argument)};
}

// Collects the interfaces and knows the line of each name and id.
class Collector {
 public:
  void Take(std::string_view line, std::size_t number) {
    CheckBytes(line);
    const std::vector<std::string_view> fields = Fields(line);
    if (fields.empty()) {
      return;
    }
    Interface interface = ParseInterface(fields);
    const auto name = names_.emplace(interface.name, number);
    if (!name.second) {
      Reject("name " + Quoted(interface.name) + " stands in line " +
             std::to_string(name.first->second) + " already");
    }
    const auto limid = limids_.emplace(interface.limid, number);
    if (!limid.second) {
      Reject("logical interface id " + std::to_string(interface.limid) + " stands in line " +
             std::to_string(limid.first->second) + " already");
    }
    interfaces_.push_back(std::move(interface));
  }

  InterfaceTable Table() && { return InterfaceTable(std::move(interfaces_)); }

 private:
  std::vector<Interface> interfaces_;
  std::map<std::string, std::size_t> names_;
  std::map<std::uint32_t, std::size_t> limids_;
};

}  // namespace

InterfaceTable ParseInterfaceTable(std::string_view text, const std::string& file_name) {
  Collector collector;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t size = std::min(text.find('\n'), text.size());
    try {
      collector.Take(text.substr(0, size), number);
    } catch (const LineError& error) {
      throw InterfaceTableError(file_name + ":" + std::to_string(number) + ": " + error.text);
    }
    text.remove_prefix(std::min(size + 1, text.size()));
  }
  return std::move(collector).Table();
}

}  // namespace elem
