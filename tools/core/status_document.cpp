#include "status_document.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "escape.h"
#include "status_model.h"

namespace cfmctl {
namespace {

std::string Indent(std::size_t depth) {
  return std::string(2 * depth, ' ');
}

std::string JsonValue(LeafType type, const std::string& value) {
  return type == LeafType::kNumber ? value : JsonString(value);
}

// "name": value, or [values] of a leaf-list; empty when there is none.
std::string JsonMember(const TreeNode& record, const StatusLeaf& leaf) {
  std::vector<std::string> values;
  for (const std::string& value : ChildValues(record, leaf.name)) {
    values.push_back(JsonValue(leaf.type, value));
  }
  if (values.empty()) {
    return {};
  }
  return leaf.is_list ? fmt::format("\"{}\": [{}]", leaf.name, fmt::join(values, ", "))
                      : fmt::format("\"{}\": {}", leaf.name, values.front());
}

std::string JsonObject(const TreeNode& record, const StatusList& list) {
  std::vector<std::string> members;
  for (const StatusLeaf& leaf : list.leaves) {
    const std::string member = JsonMember(record, leaf);
    if (!member.empty()) {
      members.push_back(Indent(5) + member);
    }
  }
  return fmt::format("{0}{{\n{1}\n{0}}}", Indent(4), fmt::join(members, ",\n"));
}

std::string JsonDocument(const StatusRecords& records) {
  std::vector<std::string> lists;
  for (const StatusList& list : StatusModel()) {
    std::vector<std::string> objects;
    for (const TreeNode& record : records) {
      if (record.name == list.name) {
        objects.push_back(JsonObject(record, list));
      }
    }
    if (!objects.empty()) {
      lists.push_back(
          fmt::format("{0}\"{1}\": [\n{2}\n{0}]", Indent(3), list.name, fmt::join(objects, ",\n")));
    }
  }
  const std::string content =
      lists.empty() ? "" : fmt::format("\n{}\n{}", fmt::join(lists, ",\n"), Indent(2));
  return fmt::format("{{\n  \"{}:status\": {{\"oam\": {{\"cfm\": {{{}}}}}}}\n}}\n", kStatusModule,
                     content);
}

void AppendXml(std::string& out, const TreeNode& record, const StatusList& list) {
  out += fmt::format("{}<{}>\n", Indent(3), list.name);
  for (const StatusLeaf& leaf : list.leaves) {
    for (const std::string& value : ChildValues(record, leaf.name)) {
      out += fmt::format("{0}<{1}>{2}</{1}>\n", Indent(4), leaf.name, XmlText(value));
    }
  }
  out += fmt::format("{}</{}>\n", Indent(3), list.name);
}

std::string XmlDocument(const StatusRecords& records) {
  std::string out = fmt::format("<status xmlns=\"{}\">\n  <oam>\n    <cfm>\n", kStatusNamespace);
  for (const StatusList& list : StatusModel()) {
    for (const TreeNode& record : records) {
      if (record.name == list.name) {
        AppendXml(out, record, list);
      }
    }
  }
  return out + "    </cfm>\n  </oam>\n</status>\n";
}

}  // namespace

std::string StatusDocument(const StatusRecords& records, DocumentFormat format) {
  return format == DocumentFormat::kXml ? XmlDocument(records) : JsonDocument(records);
}

}  // namespace cfmctl
