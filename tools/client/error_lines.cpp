#include "error_lines.h"

#include <fmt/format.h>

#include "core/escape.h"

namespace cfmctl {
namespace {

std::string ToLine(const cfm::agent::Error& error) {
  const std::string where = error.path().empty() ? "" : error.path() + ": ";
  const std::string rule = error.rule().empty() ? "" : fmt::format(" (rule: {})", error.rule());
  return Printable(where + error.message() + rule);
}

}  // namespace

std::vector<std::string> ErrorLines(const cfm::agent::Reply& reply) {
  std::vector<std::string> lines;
  for (const cfm::agent::Error& error : reply.errors()) {
    lines.push_back(ToLine(error));
  }
  return lines;
}

}  // namespace cfmctl
