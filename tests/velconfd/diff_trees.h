// Diff trees of the CFM configuration for tests.
#ifndef TESTS_DIFF_TREES_H
#define TESTS_DIFF_TREES_H

#include <string>
#include <utility>
#include <vector>

#include "fake_confd.h"

namespace test {

using Nodes = std::vector<Node>;

inline Node Entry(const char* list, Key key, int op, Nodes children = {}) {
  return {list, {std::move(key)}, op, {}, {}, std::move(children)};
}
inline Node Element(const char* leaf_list, int value, int op) {
  return {leaf_list, {value}, op, {}, {}, {}};
}
inline Node Leaf(const char* name, int value) {
  return {name, {}, MOP_VALUE_SET, {}, value, {}};
}
inline Node Container(const char* name, int op, Nodes children = {}) {
  return {name, {}, op, {}, {}, std::move(children)};
}

// The root of a diff whose changes are the given MDs.
inline Node Cfm(Nodes mds) {
  return Container(
      "", 0,
      {Container("config", 0, {Container("oam", 0, {Container("cfm", 0, std::move(mds))})})});
}

}  // namespace test

#endif
