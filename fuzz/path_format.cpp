// Path formats of the CDB calls, with whatever arguments.
#include <list>

#include "confd_client/path_parser.h"
#include "input.h"

namespace {

class FuzzedArguments : public confd::Arguments {
 public:
  explicit FuzzedArguments(fuzz::Input& input) : input_(input) {}

  int NextInt() override { return input_.Take<int>(); }
  unsigned int NextUnsigned() override { return input_.Take<unsigned int>(); }
  const char* NextString() override {
    strings_.push_back(input_.TakeText());
    return strings_.back() == "null" ? nullptr : strings_.back().c_str();
  }
  const confd_value_t* NextValue() override {
    value_ = {};
    switch (input_.Take<std::uint8_t>() % 4) {
      case 0:
        CONFD_SET_INT64(&value_, input_.Take<std::int64_t>());
        break;
      case 1:
        CONFD_SET_UINT64(&value_, input_.Take<std::uint64_t>());
        break;
      case 2:
        CONFD_SET_STR(&value_, NextString());
        break;
      default:
        return nullptr;
    }
    return &value_;
  }

 private:
  fuzz::Input& input_;
  std::list<std::string> strings_;
  confd_value_t value_{};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::string format = input.TakeText();
  FuzzedArguments arguments(input);
  try {
    const confd::Path path = confd::ParsePath(format, arguments);
    // A path that was accepted has nodes with names, and can be shown.
    for (const confd::Step& step : path) {
      if (step.name.empty()) {
        __builtin_trap();
      }
    }
    if (!path.empty() && confd::PathText(path).empty()) {
      __builtin_trap();
    }
  } catch (const confd::PathError& error) {
    if (error.Position() > format.size()) {
      __builtin_trap();
    }
  }
  return 0;
}
