#include "defects.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <vector>

namespace cfmctl {
namespace {

constexpr Defect kDefects[] = {{"A", "RDI"},
                               {"S", "MAC status"},
                               {"R", "remote CCM"},
                               {"I", "error CCM"},
                               {"X", "cross-connect CCM"}};

}  // namespace

std::span<const Defect> Defects() {
  return kDefects;
}

std::string WithMeaning(const std::string& letters) {
  std::vector<std::string_view> meanings;
  for (const Defect& defect : kDefects) {
    if (letters.find(defect.letter) != std::string::npos) {
      meanings.push_back(defect.meaning);
    }
  }
  const bool is_set_of_letters = meanings.size() == letters.size() && !letters.empty();
  return is_set_of_letters ? fmt::format("{} ({})", letters, fmt::join(meanings, ", ")) : letters;
}

}  // namespace cfmctl
