// Nodes of the configuration as a person reads them in a log line, such as
// `MEP 5 of MA blue of MD east`.
#ifndef CFM_NODE_NAME_H
#define CFM_NODE_NAME_H

#include <cstdint>
#include <string>
#include <string_view>

namespace cfm {

// Names come from outside: what is not printable ASCII shows as \xNN, and a
// name longer than any that the model allows is cut, with "..." at its end.
std::string MdText(std::string_view md);
std::string MaText(std::string_view md, std::string_view ma);
std::string MepText(std::string_view md, std::string_view ma, std::uint32_t mep_id);

// Any other text of a peer, made fit for one log line in the same way.
std::string LogText(std::string_view text);

}  // namespace cfm

#endif
