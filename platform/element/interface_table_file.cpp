#include "interface_table_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <exception>
#include <system_error>

#include "unique_fd.h"

namespace elem {
namespace {

[[noreturn]] void ThrowErrno(const std::filesystem::path& path) {
  throw std::system_error(errno, std::system_category(),
                          "read interface table '" + path.native() + "'");
}

std::string ReadFile(const std::filesystem::path& path) {
  const ipc::UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) {
    ThrowErrno(path);
  }
  std::string text;
  std::array<char, 4096> chunk{};
  ssize_t size = 0;
  while ((size = read(file.Get(), chunk.data(), chunk.size())) > 0) {
    text.append(chunk.data(), static_cast<std::size_t>(size));
  }
  if (size < 0) {
    ThrowErrno(path);
  }
  return text;
}

}  // namespace

InterfaceTable ReadInterfaceTable(const std::filesystem::path& path) {
  return ParseInterfaceTable(ReadFile(path), path.native());
}

bool InterfaceTableFile::Stamp::SameAs(const Stamp& other) const {
  return path == other.path && device == other.device && inode == other.inode &&
         size == other.size && modified.tv_sec == other.modified.tv_sec &&
         modified.tv_nsec == other.modified.tv_nsec;
}

const InterfaceTable* InterfaceTableFile::Get(const std::filesystem::path& path) {
  // All zero when there is no file: then reading tells what is wrong.
  struct stat status {};
  if (stat(path.c_str(), &status) < 0) {
    status = {};
  }
  // Taken before the file is read: a change in between is seen the next time.
  // What could not be used is tried again, for a change of mode leaves no
  // trace here.
  const Stamp now{path, status.st_dev, status.st_ino, status.st_size, status.st_mtim};
  if (!table_ || !stamp_.SameAs(now)) {
    Load(now);
  }
  return table_ ? &*table_ : nullptr;
}

void InterfaceTableFile::Load(const Stamp& now) {
  table_.reset();
  problem_.clear();
  try {
    table_ = ReadInterfaceTable(now.path);
  } catch (const std::exception& error) {
    problem_ = error.what();
  }
  stamp_ = now;
}

}  // namespace elem
