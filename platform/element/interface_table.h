// The element's interfaces: which name has which logical interface id, and
// which port is behind it. The id service and the CFM manager read the same
// table, so an id that one hands out finds its port at the other.
//
// One interface a line: `name limid kind [argument]`, separated by blanks. A
// field that begins with # begins a comment. Kinds:
//   wire   virtual wire; argument: path of the wire's socket, from the root
//   linux  Linux interface; argument: the device, by default the name
#ifndef INTERFACE_TABLE_H
#define INTERFACE_TABLE_H

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace elem {

enum class PortKind { kWire, kLinux };

struct Interface {
  std::string name;
  std::uint32_t limid = 0;  // never 0 in a table
  PortKind kind = PortKind::kWire;
  std::string argument;  // wire: path of its socket; linux: device

  bool operator==(const Interface&) const = default;
};

// `file:line: what is wrong`.
class InterfaceTableError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class InterfaceTable {
 public:
  InterfaceTable() = default;
  // No two of them share a name or an id.
  explicit InterfaceTable(std::vector<Interface> interfaces);

  // In the order of the file.
  const std::vector<Interface>& All() const { return interfaces_; }
  // Null when there is none. Lives as long as the table.
  const Interface* FindByName(std::string_view name) const;
  const Interface* FindByLimid(std::uint32_t limid) const;

 private:
  std::vector<Interface> interfaces_;
};

// Throws InterfaceTableError; `file_name` is for its message only.
InterfaceTable ParseInterfaceTable(std::string_view text, const std::string& file_name);

// Throws std::system_error naming the file, or InterfaceTableError.
InterfaceTable ReadInterfaceTable(const std::filesystem::path& path);

}  // namespace elem

#endif
