// XML or JSON.
#ifndef TOOLS_CORE_DOCUMENT_FORMAT_H
#define TOOLS_CORE_DOCUMENT_FORMAT_H

#include <optional>
#include <string_view>

namespace cfmctl {

enum class DocumentFormat { kXml, kJson };

// By the first character that is not blank, else by the extension of the
// file's name.
std::optional<DocumentFormat> GuessFormat(std::string_view file_name, std::string_view document);

}  // namespace cfmctl

#endif
