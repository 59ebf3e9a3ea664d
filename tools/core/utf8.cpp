#include "utf8.h"

#include <algorithm>
#include <cstdint>

namespace cfmctl {
namespace {

// What the first byte says: how many follow, and which characters would have
// had a shorter form.
struct Form {
  unsigned char mask;
  unsigned char lead;
  std::size_t following;
  std::uint32_t least;
};

constexpr Form kForms[] = {
    {0x80, 0x00, 0, 0}, {0xe0, 0xc0, 1, 0x80}, {0xf0, 0xe0, 2, 0x800}, {0xf8, 0xf0, 3, 0x10000}};
constexpr std::uint32_t kLast = 0x10ffff;

unsigned char Byte(char c) {
  return static_cast<unsigned char>(c);
}

// Bytes of the character that the text begins with; 0 when it is none.
std::size_t CharacterLength(std::string_view text) {
  const unsigned char first = Byte(text.front());
  const auto* const form = std::ranges::find_if(
      kForms, [&](const Form& each) { return (first & each.mask) == each.lead; });
  if (form == std::end(kForms) || text.size() <= form->following) {
    return 0;
  }
  auto character = static_cast<std::uint32_t>(first & ~form->mask);
  for (const char c : text.substr(1, form->following)) {
    if ((Byte(c) & 0xc0) != 0x80) {
      return 0;
    }
    character = character << 6 | (Byte(c) & 0x3fU);
  }
  const bool is_surrogate = character >= 0xd800 && character <= 0xdfff;
  return character >= form->least && character <= kLast && !is_surrogate ? form->following + 1 : 0;
}

}  // namespace

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = CharacterLength(text);
    if (length == 0) {
      return false;
    }
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace cfmctl
