#include "utf8.h"

#include <cstddef>

namespace agentd {
namespace {

// Bytes of the well-formed character at the beginning of a text; 0 when there
// is none (RFC 3629, clause 4).
std::size_t CharacterLength(std::string_view text) {
  struct Form {
    unsigned char first_low, first_high, second_low, second_high;
    std::size_t length;
  };
  static constexpr Form kForms[] = {
      {0x00, 0x7f, 0x00, 0x00, 1}, {0xc2, 0xdf, 0x80, 0xbf, 2}, {0xe0, 0xe0, 0xa0, 0xbf, 3},
      {0xe1, 0xec, 0x80, 0xbf, 3}, {0xed, 0xed, 0x80, 0x9f, 3}, {0xee, 0xef, 0x80, 0xbf, 3},
      {0xf0, 0xf0, 0x90, 0xbf, 4}, {0xf1, 0xf3, 0x80, 0xbf, 4}, {0xf4, 0xf4, 0x80, 0x8f, 4}};
  const auto in = [&](std::size_t i, unsigned char low, unsigned char high) {
    const auto byte = static_cast<unsigned char>(text[i]);
    return low <= byte && byte <= high;
  };
  for (const Form& form : kForms) {
    if (text.size() < form.length || !in(0, form.first_low, form.first_high)) {
      continue;
    }
    bool good = form.length == 1 || in(1, form.second_low, form.second_high);
    for (std::size_t i = 2; i < form.length; ++i) {
      good = good && in(i, 0x80, 0xbf);
    }
    return good ? form.length : 0;
  }
  return 0;
}

}  // namespace

std::string WellFormed(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t length = CharacterLength(text);
    result += length > 0 ? text.substr(0, length) : "?";
    text.remove_prefix(length > 0 ? length : 1);
  }
  return result;
}

}  // namespace agentd
