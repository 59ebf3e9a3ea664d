// Bytes of others made safe for where they are written. The names of the
// model are printable ASCII; whatever else turns up must neither break a
// document nor steer a terminal.
#ifndef TOOLS_CORE_ESCAPE_H
#define TOOLS_CORE_ESCAPE_H

#include <string>
#include <string_view>

namespace cfmctl {

// For a terminal: other bytes than printable ASCII as \xHH.
std::string Printable(std::string_view text);
// A value for people, who would not see an empty one: "".
std::string Visible(std::string_view value);
// A JSON string with its quotes, and the content of an XML element. Other
// bytes than printable ASCII become U+FFFD: what is no UTF-8 and what XML
// cannot carry has no true representation there.
std::string JsonString(std::string_view text);
std::string XmlText(std::string_view text);

}  // namespace cfmctl

#endif
