#include "maid.h"

#include <algorithm>

namespace cfm::engine {
namespace {

constexpr std::uint8_t kNoMdName = 1;
constexpr std::size_t kLongestMdName = 43;

}  // namespace

std::optional<Maid> MakeMaid(std::string_view md, std::string_view ma) {
  Bytes bytes;
  AppendU8(bytes, kMdNameAsText);
  AppendU8(bytes, static_cast<unsigned>(md.size()));
  AppendBytes(bytes, md);
  AppendU8(bytes, kMaNameAsText);
  AppendU8(bytes, static_cast<unsigned>(ma.size()));
  AppendBytes(bytes, ma);
  Maid maid{};
  if (md.empty() || md.size() > kLongestMdName || ma.empty() || bytes.size() > maid.size()) {
    return std::nullopt;
  }
  std::ranges::copy(bytes, maid.begin());
  return maid;
}

bool IsWellFormed(const Maid& maid) {
  ByteReader reader(maid);
  if (reader.U8() != kNoMdName) {
    const std::size_t length = reader.U8();
    if (length == 0 || length > kLongestMdName) {
      return false;
    }
    reader.Take(length);
  }
  reader.U8();  // format of the short MA name
  const std::size_t length = reader.U8();
  reader.Take(length);
  return length != 0 && !reader.Failed();
}

}  // namespace cfm::engine
