#include "path_argument.h"

#include "core/failure.h"

namespace cfmctl {
namespace {

auto OrUsageFailure(auto&& parse) {
  try {
    return parse();
  } catch (const PathError& error) {
    throw Failure(ExitStatus::kUsage, error.what());
  } catch (const EditError& error) {
    throw Failure(ExitStatus::kUsage, error.what());
  }
}

}  // namespace

Path PathArgument(const std::string& text) {
  return OrUsageFailure([&] { return ParsePath(text); });
}

std::vector<Edit> EditArguments(const std::vector<std::string>& words,
                                std::optional<EditKind> first) {
  return OrUsageFailure([&] { return ParseEdits(words, first); });
}

std::string GetPath(const Path& path) {
  return path.steps.empty() ? "" : ToInstancePath(path);
}

}  // namespace cfmctl
