// Octets in network order: a reader that cannot run over the end, and the
// writing of integers.
#ifndef CFM_ENGINE_BYTES_H
#define CFM_ENGINE_BYTES_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace cfm::engine {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

// Reading past the end yields zeros or nothing, and Failed() from then on.
class ByteReader {
 public:
  explicit ByteReader(ByteView bytes) : rest_(bytes) {}

  ByteView Take(std::size_t count) {
    if (count > rest_.size()) {
      failed_ = true;
      rest_ = {};
      return {};
    }
    const ByteView taken = rest_.first(count);
    rest_ = rest_.subspan(count);
    return taken;
  }
  std::uint8_t U8() { return static_cast<std::uint8_t>(Number(1)); }
  std::uint16_t U16() { return static_cast<std::uint16_t>(Number(2)); }
  std::uint32_t U32() { return Number(4); }
  std::size_t Left() const { return rest_.size(); }
  bool Failed() const { return failed_; }

 private:
  std::uint32_t Number(std::size_t size) {
    std::uint32_t number = 0;
    for (const std::uint8_t octet : Take(size)) {
      number = number << 8 | octet;
    }
    return number;
  }

  ByteView rest_;
  bool failed_ = false;
};

inline void AppendU8(Bytes& bytes, unsigned number) {
  bytes.push_back(static_cast<std::uint8_t>(number));
}

inline void AppendU16(Bytes& bytes, unsigned number) {
  AppendU8(bytes, number >> 8 & 0xff);
  AppendU8(bytes, number & 0xff);
}

inline void AppendU32(Bytes& bytes, std::uint32_t number) {
  AppendU16(bytes, number >> 16);
  AppendU16(bytes, number & 0xffff);
}

template <typename Range>
void AppendBytes(Bytes& bytes, const Range& more) {
  bytes.insert(bytes.end(), std::begin(more), std::end(more));
}

}  // namespace cfm::engine

#endif
