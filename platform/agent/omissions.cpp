#include "omissions.h"

#include "utf8.h"

namespace agentd {
namespace {

// Paths that a warning names; of thousands nobody reads more.
constexpr std::size_t kNamed = 8;

}  // namespace

void Omissions::Add(const std::string& cause, const std::string& path) {
  Paths& paths = causes_[cause];
  if (++paths.count <= kNamed) {
    paths.first.push_back(path);
  }
}

std::vector<std::string> Omissions::Warnings() const {
  std::vector<std::string> warnings;
  for (const auto& [cause, paths] : causes_) {
    std::string text = cause + ": left out ";
    for (std::size_t i = 0; i < paths.first.size(); ++i) {
      text += (i > 0 ? ", " : "") + paths.first[i];
    }
    if (paths.count > paths.first.size()) {
      text += " and " + std::to_string(paths.count - paths.first.size()) + " more";
    }
    warnings.push_back(WellFormed(text));
  }
  return warnings;
}

}  // namespace agentd
