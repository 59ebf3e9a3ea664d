// The running configuration on disk: an SQLite database (write-ahead log,
// synchronous=FULL), so that a commit is there or not at all. One row per
// explicit leaf, leaf-list element, list entry and presence container, under
// its instance path; what is written follows the change.
#ifndef AGENT_STORE_H
#define AGENT_STORE_H

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "difference.h"

struct sqlite3;

namespace agentd {

// What tells one file from another, whatever its name.
struct FileIdentity {
  dev_t device;
  ino_t inode;

  bool operator==(const FileIdentity&) const = default;
};

class Store {
 public:
  // Opens the database, or makes it. Throws std::runtime_error naming the
  // file, the cause and what to do when it cannot be used, is damaged, or
  // belongs to another program.
  explicit Store(const std::filesystem::path& file);

  const std::filesystem::path& File() const { return file_; }
  // Number of the last commit; 0 before the first.
  std::uint64_t Txid() const { return txid_; }

  // Every row, in the order of the paths, so that each comes after what it
  // stands in.
  void ForEachRow(const std::function<void(std::string_view path, std::string_view value)>& row);

  // Makes the changes and the number durable. With a problem nothing has
  // changed, nor comes to light when the file is opened again after a sudden
  // end of the process; a later commit may succeed.
  Problems Commit(std::uint64_t txid, const std::vector<RowChange>& changes);

 private:
  struct Close {
    void operator()(sqlite3* database) const;
  };

  void Open();
  void CheckOwner();
  void CheckIntegrity();
  void ReadTxid();
  void Write(std::uint64_t txid, const std::vector<RowChange>& changes);
  void RollBack();
  bool BuryFailedCommit();

  std::filesystem::path file_;
  std::unique_ptr<sqlite3, Close> database_;
  std::optional<FileIdentity> identity_;
  std::uint64_t txid_ = 0;
};

}  // namespace agentd

#endif
