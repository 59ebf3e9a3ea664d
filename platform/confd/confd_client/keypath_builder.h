// The keypath of a walk down a tree. A confd_hkeypath_t is large and has its
// deepest element first, so it is filled only for the nodes that are reported,
// and of it only what differs from empty.
#ifndef CONFD_CLIENT_KEYPATH_BUILDER_H
#define CONFD_CLIENT_KEYPATH_BUILDER_H

#include <confd_lib.h>

#include <array>

namespace confd {

class KeypathBuilder {
 public:
  KeypathBuilder();

  KeypathBuilder(const KeypathBuilder&) = delete;
  KeypathBuilder& operator=(const KeypathBuilder&) = delete;

  // Goes down by one element, which has no value yet. Throws
  // ipc::ProtocolError when that is deeper than a keypath can be.
  void Push();
  // Adds a value to the element that was pushed last. Throws likewise when
  // there are more than an element holds.
  void Add(const confd_value_t& value);
  void Pop() { --depth_; }
  int Depth() const { return depth_; }

  // The whole keypath, valid until the next call of an operation.
  confd_hkeypath_t& Fill();

 private:
  struct Element {
    std::array<confd_value_t, MAXKEYLEN> values;
    int size;
  };

  void FillElement(int index, const Element& element);

  int depth_ = 0;
  std::array<Element, MAXDEPTH> elements_;  // topmost first
  std::array<int, MAXDEPTH> filled_{};      // slots of keypath_ that are not C_NOEXISTS
  confd_hkeypath_t keypath_;
};

}  // namespace confd

#endif
