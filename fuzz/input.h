// Cuts a fuzzer's bytes into what a target needs.
#ifndef FUZZ_INPUT_H
#define FUZZ_INPUT_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace fuzz {

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : rest_(reinterpret_cast<const char*>(data), size) {}

  // 0 when nothing is left.
  template <typename Number>
  Number Take() {
    Number number{};
    const std::size_t size = std::min(sizeof number, rest_.size());
    std::memcpy(&number, rest_.data(), size);
    rest_.remove_prefix(size);
    return number;
  }
  // Up to the next NUL, which is skipped, or all that is left.
  std::string TakeText() {
    const std::size_t end = std::min(rest_.find('\0'), rest_.size());
    std::string text(rest_.substr(0, end));
    rest_.remove_prefix(std::min(end + 1, rest_.size()));
    return text;
  }
  // A 16-bit length and so many bytes, or all that is left.
  std::string_view TakeBlock() {
    const std::size_t wanted = Take<std::uint16_t>();
    const std::size_t size = std::min(wanted, rest_.size());
    const std::string_view block = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return block;
  }
  std::string_view Rest() const { return rest_; }

 private:
  std::string_view rest_;
};

}  // namespace fuzz

#endif
