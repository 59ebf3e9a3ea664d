// The interface table of a running process, read again when it has changed.
#ifndef INTERFACE_TABLE_FILE_H
#define INTERFACE_TABLE_FILE_H

#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <string>

#include "interface_table.h"

namespace elem {

class InterfaceTableFile {
 public:
  // The table in `path` as it is now. Null when it cannot be used: Problem
  // then says why.
  const InterfaceTable* Get(const std::filesystem::path& path);
  // Empty after a Get that succeeded.
  const std::string& Problem() const { return problem_; }

 private:
  // What tells one content of the file from another.
  struct Stamp {
    std::filesystem::path path;
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified{};

    bool SameAs(const Stamp& other) const;
  };

  void Load(const Stamp& now);

  Stamp stamp_;  // of table_
  std::optional<InterfaceTable> table_;
  std::string problem_;
};

}  // namespace elem

#endif
