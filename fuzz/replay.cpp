// Runs a fuzz target on the files that are in the given directories, and does
// nothing else: this is how a build without libFuzzer tests that no seed and no
// earlier finding breaks anything.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<char> Content(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::vector<char> content(std::istreambuf_iterator<char>(file), {});
  if (!file) {
    throw std::runtime_error("cannot read " + path.string());
  }
  return content;
}

int ReplayAll(const std::filesystem::path& directory) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    // Said before, so that an input that ends the program is known.
    std::printf("%s\n", entry.path().c_str());
    std::fflush(stdout);
    const std::vector<char> input = Content(entry.path());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    ++count;
  }
  return count;
}

}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    try {
      if (ReplayAll(argv[i]) == 0) {
        std::fprintf(stderr, "%s is empty: there is nothing to replay\n", argv[i]);
        return 1;
      }
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      return 1;
    }
  }
  return 0;
}
