#include "hierarchy_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "escape.h"

namespace cfmctl {
namespace {

std::string Indent(std::size_t depth) {
  return std::string(2 * depth, ' ');
}

void AppendListing(std::string& out, const Entry& entry, std::size_t depth) {
  out += fmt::format("{}{} {}\n", Indent(depth), entry.kind, Printable(entry.Key()));
  constexpr std::size_t kFirstAfterKey = 1;
  for (std::size_t i = kFirstAfterKey; i < entry.fields.size(); ++i) {
    const Field& field = entry.fields[i];
    const std::string value = Printable(fmt::format("{}", fmt::join(field.values, " ")));
    const bool is_unit = field.meaning == "ms";
    const std::string meaning = field.meaning.empty() ? ""
                                : is_unit             ? fmt::format(" {}", field.meaning)
                                                      : fmt::format(" ({})", field.meaning);
    out += fmt::format("{}{:<29} {}{}\n", Indent(depth + 1), field.name,
                       value.empty() ? "none" : value, value.empty() ? "" : meaning);
  }
  for (const Entry& child : entry.children) {
    AppendListing(out, child, depth + 1);
  }
}

std::string JsonValue(const Field& field) {
  switch (field.kind) {
    case Field::Kind::kText:
      return JsonString(field.values.front());
    case Field::Kind::kNumberList:
      return fmt::format("[{}]", fmt::join(field.values, ", "));
    case Field::Kind::kNumber:
    case Field::Kind::kBoolean:
      break;
  }
  return field.values.front();
}

std::string_view ChildKind(std::string_view kind) {
  return kind == "md" ? "ma" : "mep";
}

// "kind": [ entries ], without a line end.
std::string JsonEntries(std::string_view kind, const std::vector<Entry>& entries,
                        std::size_t depth) {
  std::vector<std::string> objects;
  for (const Entry& entry : entries) {
    std::vector<std::string> members;
    for (const Field& field : entry.fields) {
      members.push_back(
          fmt::format("{}\"{}\": {}", Indent(depth + 2), field.name, JsonValue(field)));
    }
    if (entry.kind != "mep") {
      members.push_back(JsonEntries(ChildKind(entry.kind), entry.children, depth + 2));
    }
    objects.push_back(
        fmt::format("{0}{{\n{1}\n{0}}}", Indent(depth + 1), fmt::join(members, ",\n")));
  }
  const std::string body =
      objects.empty() ? "" : fmt::format("\n{}\n{}", fmt::join(objects, ",\n"), Indent(depth));
  return fmt::format("{}\"{}\": [{}]", Indent(depth), kind, body);
}

void AppendXml(std::string& out, const Entry& entry, std::size_t depth) {
  out += fmt::format("{}<{}>\n", Indent(depth), entry.kind);
  for (const Field& field : entry.fields) {
    for (const std::string& value : field.values) {
      out += fmt::format("{0}<{1}>{2}</{1}>\n", Indent(depth + 1), field.name, XmlText(value));
    }
  }
  for (const Entry& child : entry.children) {
    AppendXml(out, child, depth + 1);
  }
  out += fmt::format("{}</{}>\n", Indent(depth), entry.kind);
}

}  // namespace

std::string ToListing(const std::vector<Entry>& entries) {
  std::string out;
  for (const Entry& entry : entries) {
    AppendListing(out, entry, 0);
  }
  return out;
}

std::string ToJson(const std::vector<Entry>& entries) {
  return fmt::format("{{\n{}\n}}\n", JsonEntries("md", entries, 1));
}

std::string ToXml(const std::vector<Entry>& entries) {
  std::string out = "<hierarchy>\n";
  for (const Entry& entry : entries) {
    AppendXml(out, entry, 1);
  }
  return out + "</hierarchy>\n";
}

}  // namespace cfmctl
