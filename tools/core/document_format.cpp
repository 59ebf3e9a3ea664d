#include "document_format.h"

namespace cfmctl {

std::optional<DocumentFormat> GuessFormat(std::string_view file_name, std::string_view document) {
  constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
  if (document.starts_with(kByteOrderMark)) {
    document.remove_prefix(kByteOrderMark.size());
  }
  const std::size_t first = document.find_first_not_of(" \t\r\n");
  const char begin = first == std::string_view::npos ? '\0' : document[first];
  if (begin == '<' || (begin != '{' && file_name.ends_with(".xml"))) {
    return DocumentFormat::kXml;
  }
  if (begin == '{' || file_name.ends_with(".json")) {
    return DocumentFormat::kJson;
  }
  return std::nullopt;
}

}  // namespace cfmctl
