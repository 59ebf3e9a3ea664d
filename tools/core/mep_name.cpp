#include "mep_name.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>

#include "path.h"

namespace cfmctl {
namespace {

std::optional<int> ToNumber(const std::string& text) {
  int number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

std::optional<int> ChildNumber(const TreeNode& parent, std::string_view name) {
  const auto text = ChildValue(parent, name);
  return text ? ToNumber(*text) : std::nullopt;
}

std::vector<int> LocalMeps(const TreeNode& ma) {
  std::vector<int> ids;
  for (const TreeNode& child : ma.children) {
    const auto id = child.name == "mep" ? ChildNumber(child, "id") : std::nullopt;
    if (id) {
      ids.push_back(*id);
    }
  }
  return ids;
}

// The remote MEPs of an MA.
std::vector<int> RemoteMeps(const TreeNode& ma) {
  std::vector<int> ids;
  for (const std::string& text : ChildValues(ma, "remote-meps")) {
    if (const auto id = ToNumber(text)) {
      ids.push_back(*id);
    }
  }
  return ids;
}

void AddMepsOf(const std::string& md, const TreeNode& ma, const MepSelection& selection,
               std::vector<MepName>& meps) {
  const std::string name = ChildValue(ma, "id").value_or("");
  const std::vector<int> local = LocalMeps(ma);
  for (const int id : local) {
    if (const MepName mep{md, name, false, {}, id}; selection.Selects(mep)) {
      meps.push_back(mep);
    }
  }
  const auto seen_by = local.size() == 1 ? std::optional(local.front()) : std::nullopt;
  for (const int id : RemoteMeps(ma)) {
    const bool is_selected = std::ranges::any_of(local, [&](int seer) {
      return selection.Selects({md, name, true, seer, id});
    });
    if (is_selected) {
      meps.push_back({md, name, true, seen_by, id});
    }
  }
}

bool HasMep(const TreeNode& ma, const std::optional<int>& mep) {
  const auto has = [&](const std::vector<int>& ids) {
    return std::ranges::find(ids, *mep) != ids.end();
  };
  return !mep || has(LocalMeps(ma)) || has(RemoteMeps(ma));
}

bool HasMa(const TreeNode& md, const MepSelection& selection) {
  if (!selection.ma && !selection.mep) {
    return true;
  }
  return std::ranges::any_of(md.children, [&](const TreeNode& ma) {
    return ma.name == "ma" && (!selection.ma || ChildValue(ma, "id") == selection.ma) &&
           HasMep(ma, selection.mep);
  });
}

std::string MepStep(int id) {
  return ToShortStep({"mep", std::to_string(id)});
}

}  // namespace

MepName WithoutObserver(MepName name) {
  name.seen_by.reset();
  return name;
}

std::string ToText(const MepName& name) {
  const std::string ma = ToShortStep({"md", name.md}) + '/' + ToShortStep({"ma", name.ma});
  if (!name.is_remote) {
    return fmt::format("local MEP {}/{}", ma, MepStep(name.id));
  }
  return fmt::format("remote MEP {} of {}{}", name.id, ma,
                     name.seen_by ? '/' + MepStep(*name.seen_by) : "");
}

std::optional<MepName> NameOfRecord(const TreeNode& record) {
  const bool is_remote = record.name == "remote";
  const auto md = ChildValue(record, "md");
  const auto ma = ChildValue(record, "ma");
  const auto seen_by = ChildNumber(record, "local-mep");
  const auto id = ChildNumber(record, is_remote ? "remote-mep" : "mep");
  if (!md || !ma || !id || (is_remote && !seen_by)) {
    return std::nullopt;
  }
  return MepName{*md, *ma, is_remote, seen_by, *id};
}

std::vector<MepName> ConfiguredMeps(const TreeNode& cfm, const MepSelection& selection) {
  std::vector<MepName> meps;
  for (const TreeNode& md : cfm.children) {
    for (const TreeNode& ma : md.children) {
      if (ma.name == "ma") {
        AddMepsOf(ChildValue(md, "id").value_or(""), ma, selection, meps);
      }
    }
  }
  return meps;
}

bool IsConfigured(const TreeNode& cfm, const MepSelection& selection) {
  return selection.IsEverything() || std::ranges::any_of(cfm.children, [&](const TreeNode& md) {
           return md.name == "md" && (!selection.md || ChildValue(md, "id") == selection.md) &&
                  HasMa(md, selection);
         });
}

bool MepSelection::Selects(const MepName& name) const {
  return (!md || *md == name.md) && (!ma || *ma == name.ma) &&
         (!mep || *mep == name.id || name.seen_by == mep);
}

std::string ToText(const MepSelection& selection) {
  std::vector<std::string> parts;
  if (selection.md) {
    parts.push_back("MD " + *selection.md);
  }
  if (selection.ma) {
    parts.push_back("MA " + *selection.ma);
  }
  if (selection.mep) {
    parts.push_back(fmt::format("MEP {}", *selection.mep));
  }
  return parts.empty() ? "every MEP" : fmt::format("{}", fmt::join(parts, ", "));
}

}  // namespace cfmctl
