// Which visits of fail points came off: kept in files, one of each run of the
// visits, so that runs can be counted together.
#ifndef TESTS_FAILPOINTS_HITS_H
#define TESTS_FAILPOINTS_HITS_H

#include <filesystem>
#include <map>
#include <string>
#include <tuple>

namespace test {

// A process, a point of it, and what happened there.
struct Hit {
  std::string program;
  std::string point;
  std::string action;

  bool operator<(const Hit& other) const {
    return std::tie(program, point, action) < std::tie(other.program, other.point, other.action);
  }
};

// Notes it in the file that the environment names (CFM_FAIL_POINT_HITS), which
// the first call in a process empties. Nothing happens where it names none.
void NoteHit(const Hit& hit);

// How often each happened, by all files of the directory.
std::map<Hit, int> ReadHits(const std::filesystem::path& directory);

}  // namespace test

#endif
