#include "hits.h"

#include <cstdlib>
#include <fstream>

namespace test {

void NoteHit(const Hit& hit) {
  static const char* const name = std::getenv("CFM_FAIL_POINT_HITS");
  if (name != nullptr) {
    static std::ofstream file(name, std::ios::trunc);
    file << hit.program << ' ' << hit.point << ' ' << hit.action << std::endl;
  }
}

std::map<Hit, int> ReadHits(const std::filesystem::path& directory) {
  std::map<Hit, int> hits;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    std::ifstream file(entry.path());
    for (Hit hit; file >> hit.program >> hit.point >> hit.action;) {
      ++hits[hit];
    }
  }
  return hits;
}

}  // namespace test
