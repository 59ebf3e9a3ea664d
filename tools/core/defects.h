// The letters of the five defects (IEEE 802.1Q clause 20.1).
#ifndef TOOLS_CORE_DEFECTS_H
#define TOOLS_CORE_DEFECTS_H

#include <span>
#include <string>
#include <string_view>

namespace cfmctl {

struct Defect {
  std::string_view letter;
  std::string_view meaning;
};

// Lowest priority first.
std::span<const Defect> Defects();

// "SR" as "SR (MAC status, remote CCM)"; other texts as they are.
std::string WithMeaning(const std::string& letters);

}  // namespace cfmctl

#endif
