#include "confd_client/keypath_builder.h"

#include <algorithm>

#include "frame.h"

namespace confd {

KeypathBuilder::KeypathBuilder() {
  keypath_.len = 0;
  for (auto& row : keypath_.v) {
    for (auto& value : row) {
      value = {};
      CONFD_SET_NOEXISTS(&value);
    }
  }
}

void KeypathBuilder::Push() {
  if (depth_ == MAXDEPTH) {
    throw ipc::ProtocolError("a keypath of more than " + std::to_string(MAXDEPTH) + " elements");
  }
  elements_[static_cast<std::size_t>(depth_++)].size = 0;
}

void KeypathBuilder::Add(const confd_value_t& value) {
  Element& element = elements_[static_cast<std::size_t>(depth_ - 1)];
  if (element.size == MAXKEYLEN) {
    throw ipc::ProtocolError("a list entry of more than " + std::to_string(MAXKEYLEN) + " keys");
  }
  element.values[static_cast<std::size_t>(element.size++)] = value;
}

confd_hkeypath_t& KeypathBuilder::Fill() {
  static constexpr Element kEmpty{};
  for (int i = 0; i < depth_; ++i) {
    FillElement(i, elements_[static_cast<std::size_t>(depth_ - 1 - i)]);
  }
  for (int i = depth_; i < keypath_.len; ++i) {
    FillElement(i, kEmpty);
  }
  keypath_.len = depth_;
  return keypath_;
}

void KeypathBuilder::FillElement(int index, const Element& element) {
  confd_value_t* row = keypath_.v[index];
  int& filled = filled_[static_cast<std::size_t>(index)];
  std::copy_n(element.values.begin(), element.size, row);
  for (int i = element.size; i < filled; ++i) {
    CONFD_SET_NOEXISTS(&row[i]);
  }
  filled = element.size;
}

}  // namespace confd
