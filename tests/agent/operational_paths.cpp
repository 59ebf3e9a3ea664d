#include "operational_paths.h"

namespace agentd::test {
namespace {

void AddLeaf(pb::Path& path, const std::string& leaf) {
  if (!leaf.empty()) {
    path.add_steps()->set_name(leaf);
  }
}

}  // namespace

pb::Value NumberOf(confd_vtype type, std::int64_t number) {
  pb::Value value;
  value.set_type(type);
  value.set_number(number);
  return value;
}

pb::Value TextOf(const std::string& text, confd_vtype type) {
  pb::Value value;
  value.set_type(type);
  value.set_text(text);
  return value;
}

pb::Path StatusPath(const std::vector<std::string>& names) {
  pb::Path path;
  for (const char* name : {"status", "oam", "cfm"}) {
    path.add_steps()->set_name(name);
  }
  for (const std::string& name : names) {
    path.add_steps()->set_name(name);
  }
  return path;
}

pb::Path EntryPath(const std::string& list, std::int64_t key, const std::string& leaf) {
  pb::Path path = StatusPath({list});
  *path.mutable_steps(3)->add_keys() = NumberOf(C_INT64, key);
  AddLeaf(path, leaf);
  return path;
}

pb::Path PositionPath(const std::string& list, std::uint32_t position, const std::string& leaf) {
  pb::Path path = StatusPath({list});
  path.mutable_steps(3)->set_position(position);
  AddLeaf(path, leaf);
  return path;
}

Leaves LocalMep(const std::string& md, const std::string& ma, std::int32_t mep) {
  return {{"md", TextOf(md, C_STR)}, {"ma", TextOf(ma, C_STR)}, {"mep", NumberOf(C_INT32, mep)}};
}

Leaves RemoteMep(const std::string& md, const std::string& ma, std::int32_t mep) {
  return {
      {"md", TextOf(md, C_STR)}, {"ma", TextOf(ma, C_STR)}, {"remote-mep", NumberOf(C_INT32, mep)}};
}

}  // namespace agentd::test
