// The wires between the two elements.
#ifndef TESTS_SURVIVAL_WIRES_H
#define TESTS_SURVIVAL_WIRES_H

#include <filesystem>
#include <fstream>
#include <string>

#include "node.h"
#include "temporary_directory.h"

namespace survival {

class Wires {
 public:
  const std::filesystem::path& Directory() const { return directory_.Path(); }
  std::filesystem::path PathOf(int wire) const {
    return directory_.Path() / ("w" + std::to_string(wire));
  }
  void Cut(int wire) const { std::ofstream(CutFile(wire)); }
  void Mend(int wire) const { std::filesystem::remove(CutFile(wire)); }
  void MendAll() const {
    for (int wire = 0; wire < kPorts; ++wire) {
      Mend(wire);
    }
  }

 private:
  std::filesystem::path CutFile(int wire) const { return PathOf(wire).string() + ".cut"; }

  test::TemporaryDirectory directory_;
};

}  // namespace survival

#endif
