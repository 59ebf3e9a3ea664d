#include "omissions.h"

#include <algorithm>

#include "utf8.h"

namespace agentd {

std::string CountOf(std::size_t entries) {
  return std::to_string(entries) + (entries == 1 ? " entry" : " entries");
}

void Omissions::Add(const std::string& cause, const std::string& leaf, std::size_t entry) {
  LeftOut& left_out = causes_[cause];
  if (std::find(left_out.leaves.begin(), left_out.leaves.end(), leaf) == left_out.leaves.end()) {
    left_out.leaves.push_back(leaf);
  }
  left_out.entries.insert(entry);
}

std::vector<std::string> Omissions::Warnings() const {
  std::vector<std::string> warnings;
  for (const auto& [cause, left_out] : causes_) {
    std::string text = cause + ": left out ";
    for (const std::string& leaf : left_out.leaves) {
      text += (leaf == left_out.leaves.front() ? "" : ", ") + leaf;
    }
    warnings.push_back(WellFormed(text + " of " + CountOf(left_out.entries.size())));
  }
  return warnings;
}

}  // namespace agentd
