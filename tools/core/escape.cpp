#include "escape.h"

#include <fmt/format.h>

namespace cfmctl {
namespace {

bool IsPrintable(char c) {
  return c >= ' ' && c <= '~';
}

std::string JsonCharacter(char c) {
  if (!IsPrintable(c)) {
    return "\\ufffd";
  }
  return c == '"' || c == '\\' ? std::string{'\\', c} : std::string(1, c);
}

std::string XmlCharacter(char c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    default:
      return IsPrintable(c) ? std::string(1, c) : "&#xFFFD;";
  }
}

}  // namespace

std::string Printable(std::string_view text) {
  std::string result;
  for (const char c : text) {
    result += IsPrintable(c) ? std::string(1, c)
                             : fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
  }
  return result;
}

std::string Visible(std::string_view value) {
  return value.empty() ? "\"\"" : std::string(value);
}

std::string JsonString(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    result += JsonCharacter(c);
  }
  return result + '"';
}

std::string XmlText(std::string_view text) {
  std::string result;
  for (const char c : text) {
    result += XmlCharacter(c);
  }
  return result;
}

}  // namespace cfmctl
