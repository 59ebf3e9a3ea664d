// A command line, run in the test's own process on an element of its own.
#ifndef TESTS_TOOLS_COMMAND_FIXTURE_H
#define TESTS_TOOLS_COMMAND_FIXTURE_H

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "commands/command_line.h"
#include "temporary_directory.h"

namespace test {

struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

class CommandTest : public testing::Test {
 protected:
  const std::filesystem::path& Directory() const { return directory_.Path(); }

  // The words of one command, without the element.
  Outcome Run(std::vector<std::string> words, const std::string& input = "") const {
    words.insert(words.begin(), {"--runtime-dir", Directory().string()});
    return RunAsIs(words, input);
  }

  static Outcome RunAsIs(const std::vector<std::string>& words, const std::string& input = "") {
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    const cfmctl::ExitStatus status = cfmctl::RunCommandLine(words, in, out, err);
    return {static_cast<int>(status), out.str(), err.str()};
  }

  std::string WriteFile(const std::string& name, const std::string& content) const {
    const std::string path = Directory() / name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
  }

 private:
  TemporaryDirectory directory_;
};

}  // namespace test

#endif
