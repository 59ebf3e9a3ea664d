// cfmctl: the network element's CFM from the command line.
#include <exception>
#include <iostream>

#include "commands/command_line.h"

int main(int argc, char** argv) {
  try {
    const cfmctl::ExitStatus status =
        cfmctl::RunCommandLine({argv + 1, argv + argc}, std::cin, std::cout, std::cerr);
    std::cout.flush();
    if (!std::cout) {
      std::cerr << "cfmctl: cannot write the output; what it was to tell "
                << (status == cfmctl::ExitStatus::kOk ? "was done" : "failed") << '\n';
      return static_cast<int>(cfmctl::ExitStatus::kUsage);
    }
    return static_cast<int>(status);
  } catch (const std::exception& error) {
    std::cerr << "cfmctl: " << error.what() << '\n';
    return static_cast<int>(cfmctl::ExitStatus::kUsage);
  }
}
