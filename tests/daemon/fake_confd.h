// The ConfD C API on a configuration in memory.
#ifndef CFM_TESTS_DAEMON_FAKE_CONFD_H
#define CFM_TESTS_DAEMON_FAKE_CONFD_H

#include <confd_cdb.h>
#include <confd_lib.h>

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace fake {

void ResetConfd();

struct Enumeration {
  int value;
};
// A string reads as C_BUF, an int as C_INT32, a list as its elements.
using CdbValue = std::variant<std::string, int, Enumeration, std::vector<int>>;

// The running configuration. Paths name entries by key:
// /config/oam/cfm/md{east}/level.
void SetLeaf(const std::string& path, CdbValue value);
// Adds an entry to a list, behind those that are there, with its key in the
// leaf `id`.
void AddEntry(const std::string& list, CdbValue key);
// An empty leaf that exists.
void SetEmptyLeaf(const std::string& path);
// Lets the calls for a path, as the daemon asks for it, fail with a text.
void FailCdb(const std::string& path, const std::string& text);

// "call socket path" for every CDB call.
std::vector<std::string>& CdbCalls();
// Values that hold memory: freed, and not yet freed.
int FreedValues();
int LiveValues();

// Instead of what confd_pp_kpath makes of a keypath.
void SetKeypathText(std::string text);

}  // namespace fake

#endif
