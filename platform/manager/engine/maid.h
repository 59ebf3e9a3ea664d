// The MA identifier of a CCM: MD name and short MA name in 48 octets (IEEE
// 802.1Q clause 21.6.5). Two MEPs belong together when these are equal.
#ifndef CFM_ENGINE_MAID_H
#define CFM_ENGINE_MAID_H

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "bytes.h"

namespace cfm::engine {

using Maid = std::array<std::uint8_t, 48>;

inline constexpr std::uint32_t kMdNameAsText = 4;
inline constexpr std::uint32_t kMaNameAsText = 2;

// Of names that are character strings. Empty when one is empty or both are
// longer than the identifier can hold.
std::optional<Maid> MakeMaid(std::string_view md, std::string_view ma);

// Whether its length fields make sense; names of any format do.
bool IsWellFormed(const Maid& maid);

}  // namespace cfm::engine

#endif
