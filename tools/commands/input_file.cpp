#include "input_file.h"

#include <fmt/format.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>

#include "core/failure.h"
#include "frame.h"

namespace cfmctl {
namespace {

// Room for the message around the document.
constexpr std::size_t kMaxBytes = ipc::kMaxFrameBytes - 4096;

std::string ReadAll(std::istream& in, const std::string& file) {
  std::string content(std::istreambuf_iterator<char>(in), {});
  if (in.bad()) {
    throw Failure(ExitStatus::kUsage, fmt::format("cannot read {}", InputName(file)));
  }
  if (content.size() > kMaxBytes) {
    throw Failure(ExitStatus::kUsage,
                  fmt::format("{} has {} bytes: no document may have more than {}", InputName(file),
                              content.size(), kMaxBytes));
  }
  return content;
}

}  // namespace

std::string InputName(const std::string& file) {
  return file == "-" ? "standard input" : file;
}

std::string ReadInput(const Environment& environment, const std::string& file) {
  if (file == "-") {
    return ReadAll(environment.in, file);
  }
  if (std::filesystem::is_directory(file)) {
    throw Failure(ExitStatus::kUsage, fmt::format("cannot read {}: it is a directory", file));
  }
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    throw Failure(ExitStatus::kUsage,
                  fmt::format("cannot open {}: {}", file, std::system_category().message(errno)));
  }
  return ReadAll(in, file);
}

}  // namespace cfmctl
