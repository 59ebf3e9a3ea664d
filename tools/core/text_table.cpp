#include "text_table.h"

#include <fmt/format.h>

#include <algorithm>

#include "escape.h"

namespace cfmctl {
namespace {

std::string RenderRow(const Row& row, const std::vector<std::size_t>& widths) {
  std::string line;
  for (std::size_t column = 0; column < row.size(); ++column) {
    line += fmt::format("{:<{}}  ", row[column], widths[column]);
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line + '\n';
}

}  // namespace

std::string RenderTable(const Row& header, const std::vector<Row>& rows) {
  if (rows.empty()) {
    return {};
  }
  std::vector<Row> lines{header};
  for (const Row& row : rows) {
    lines.emplace_back();
    std::ranges::transform(row, std::back_inserter(lines.back()), Printable);
  }
  std::vector<std::size_t> widths(header.size(), 0);
  for (const Row& line : lines) {
    for (std::size_t column = 0; column < line.size(); ++column) {
      widths[column] = std::max(widths[column], line[column].size());
    }
  }
  std::string text;
  for (const Row& line : lines) {
    text += RenderRow(line, widths);
  }
  return text;
}

}  // namespace cfmctl
