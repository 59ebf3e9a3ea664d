#include "faulty_disk.h"

#include <cstring>

namespace agentd::test {
namespace {

int write_result = SQLITE_OK;
int sync_result = SQLITE_OK;

sqlite3_vfs* Real() {
  static sqlite3_vfs* const real = sqlite3_vfs_find("unix");
  return real;
}

sqlite3_vfs faulty_vfs;

// The methods of a real file, but for two. SQLite's files of one kind share
// their methods, and "unix" has few kinds.
struct Kind {
  const sqlite3_io_methods* real = nullptr;
  sqlite3_io_methods faulty{};
};
Kind kinds[8];

const sqlite3_io_methods* RealMethods(const sqlite3_file* file) {
  for (const Kind& kind : kinds) {
    if (&kind.faulty == file->pMethods) {
      return kind.real;
    }
  }
  return nullptr;
}

int Write(sqlite3_file* file, const void* data, int size, sqlite3_int64 offset) {
  return write_result != SQLITE_OK ? write_result
                                   : RealMethods(file)->xWrite(file, data, size, offset);
}

int Sync(sqlite3_file* file, int flags) {
  return sync_result != SQLITE_OK ? sync_result : RealMethods(file)->xSync(file, flags);
}

const sqlite3_io_methods* Faulty(const sqlite3_io_methods* real) {
  for (Kind& kind : kinds) {
    if (kind.real == nullptr) {
      kind.real = real;
      kind.faulty = *real;
      kind.faulty.xWrite = Write;
      kind.faulty.xSync = Sync;
    }
    if (kind.real == real) {
      return &kind.faulty;
    }
  }
  return real;
}

int Open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* out_flags) {
  const int result = Real()->xOpen(Real(), name, file, flags, out_flags);
  if (result == SQLITE_OK && file->pMethods != nullptr) {
    file->pMethods = Faulty(file->pMethods);
  }
  return result;
}

}  // namespace

FaultyDisk::FaultyDisk() {
  faulty_vfs = *Real();
  faulty_vfs.zName = "faulty";
  faulty_vfs.pNext = nullptr;
  faulty_vfs.xOpen = Open;
  sqlite3_vfs_register(&faulty_vfs, 1);
}

FaultyDisk::~FaultyDisk() {
  write_result = SQLITE_OK;
  sync_result = SQLITE_OK;
  sqlite3_vfs_unregister(&faulty_vfs);
}

void FaultyDisk::FailWrites(int result) {
  write_result = result;
}

void FaultyDisk::FailSyncs(int result) {
  sync_result = result;
}

}  // namespace agentd::test
