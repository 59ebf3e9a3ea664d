// Aligned columns for people.
#ifndef TOOLS_CORE_TEXT_TABLE_H
#define TOOLS_CORE_TEXT_TABLE_H

#include <string>
#include <vector>

namespace cfmctl {

using Row = std::vector<std::string>;

// The header and the rows, two blanks between the columns, none at the end of
// a line. Every row has as many cells as the header. No rows: no text.
std::string RenderTable(const Row& header, const std::vector<Row>& rows);

}  // namespace cfmctl

#endif
