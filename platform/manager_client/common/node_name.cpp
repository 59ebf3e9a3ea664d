#include "node_name.h"

#include <fmt/format.h>

#include <iterator>

namespace cfm {
namespace {

constexpr std::size_t kLongestNameShown = 64;
constexpr std::size_t kLongestTextShown = 512;

std::string Printable(std::string_view text, std::size_t limit) {
  const bool cut = text.size() > limit;
  std::string shown;
  for (const char c : text.substr(0, limit)) {
    if (c >= ' ' && c <= '~') {
      shown += c;
    } else {
      fmt::format_to(std::back_inserter(shown), "\\x{:02x}", static_cast<unsigned char>(c));
    }
  }
  if (cut) {
    shown += "...";
  }
  return shown;
}

std::string Name(std::string_view name) {
  return Printable(name, kLongestNameShown);
}

}  // namespace

std::string MdText(std::string_view md) {
  return "MD " + Name(md);
}

std::string MaText(std::string_view md, std::string_view ma) {
  return "MA " + Name(ma) + " of " + MdText(md);
}

std::string MepText(std::string_view md, std::string_view ma, std::uint32_t mep_id) {
  return fmt::format("MEP {} of {}", mep_id, MaText(md, ma));
}

std::string LogText(std::string_view text) {
  return Printable(text, kLongestTextShown);
}

}  // namespace cfm
