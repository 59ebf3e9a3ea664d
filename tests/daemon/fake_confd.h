// The ConfD C API on a configuration in memory.
#ifndef CFM_TESTS_DAEMON_FAKE_CONFD_H
#define CFM_TESTS_DAEMON_FAKE_CONFD_H

#include <confd_cdb.h>
#include <confd_dp.h>
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
using CdbValue =
    std::variant<std::string, int, Enumeration, std::vector<int>, std::vector<Enumeration>>;

// The running configuration. Paths name entries by key:
// /config/oam/cfm/md{east}/level.
void SetLeaf(const std::string& path, CdbValue value);
// Adds an entry to a list, behind those that are there, with its key in the
// leaf `id`.
void AddEntry(const std::string& list, CdbValue key);
// An empty leaf or a container that exists.
void SetEmptyLeaf(const std::string& path);
// Lets the calls for a path, as the daemon asks for it, fail with a text.
void FailCdb(const std::string& path, const std::string& text);

// "call socket path" for every CDB call, and what NoteCall was given.
std::vector<std::string>& CdbCalls();
// Notes a call here and among the events. Operational writes are noted like
// this, with the values that are written, and so are the answers to reads, with
// the number of their transaction: "reply 7: C_UINT64(5)",
// "next_key 7: C_INT32(10) keys=1 next=2".
void NoteCall(const std::string& call);
// Values that hold memory: freed, and not yet freed.
int FreedValues();
int LiveValues();

// Arrays of leaf-list elements that were freed.
int FreedLists();

// Instead of what confd_pp_kpath makes of a keypath, and confd_pp_value of a
// value.
void SetKeypathText(std::string text);
void SetValueText(std::string text);

// Size of the buffer that confd_pp_value was given last.
int ValueTextSize();

}  // namespace fake

#endif
