#include "confd_client/request_keypath.h"

#include "confd_client/wire_value.h"
#include "frame.h"

namespace confd {
namespace {

void AddNode(const cfm::agent::Keypath::Element& node, KeypathBuilder& keypath) {
  if (node.tag() == 0) {
    throw ipc::ProtocolError("a keypath with an element that is no node and has no keys");
  }
  confd_value_t value;
  CONFD_SET_XMLTAG(&value, node.tag(), node.ns());
  keypath.Add(value);
}

void AddKeys(const cfm::agent::Keypath::Element& entry, KeypathBuilder& keypath) {
  for (const auto& key : entry.keys()) {
    const confd_value_t value = BorrowScalar(key);
    if (value.type == C_NOEXISTS || value.type == C_XMLTAG) {
      throw ipc::ProtocolError("a keypath with a key of type " + std::to_string(value.type));
    }
    keypath.Add(value);
  }
}

}  // namespace

void ReadKeypath(const cfm::agent::Keypath& message, KeypathBuilder& keypath) {
  if (message.shared() > static_cast<std::uint32_t>(keypath.Depth())) {
    throw ipc::ProtocolError("a keypath that shares " + std::to_string(message.shared()) +
                             " elements with one of " + std::to_string(keypath.Depth()));
  }
  while (static_cast<std::uint32_t>(keypath.Depth()) > message.shared()) {
    keypath.Pop();
  }
  // The message has the leaf first, the builder goes down from the top.
  for (int i = message.elements_size() - 1; i >= 0; --i) {
    const auto& element = message.elements(i);
    keypath.Push();
    if (element.keys().empty()) {
      AddNode(element, keypath);
    } else {
      AddKeys(element, keypath);
    }
  }
}

}  // namespace confd
