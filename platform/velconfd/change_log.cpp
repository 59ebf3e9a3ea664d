#include "change_log.h"

#include <new>
#include <utility>

namespace velconfd {
namespace {

OwnedValue Copy(const confd_value_t* value) {
  if (value == nullptr) {
    return nullptr;
  }
  OwnedValue copy(confd_value_dup(value));
  if (copy == nullptr) {
    throw std::bad_alloc();
  }
  return copy;
}

std::size_t CountValues(const confd_value_t* values) {
  std::size_t count = 0;
  while (count < MAXKEYLEN && values[count].type != C_NOEXISTS) {
    ++count;
  }
  return count;
}

}  // namespace

void ChangeLog::Add(const confd_hkeypath_t& node, confd_iter_op op, const confd_value_t* old_value,
                    const confd_value_t* new_value, bool deleted_entry) {
  std::size_t shared = 0;
  const auto length = static_cast<std::size_t>(node.len);
  while (shared < length && shared < branch_.size() &&
         Same(elements_[static_cast<std::size_t>(branch_[shared])], node.v[length - 1 - shared])) {
    ++shared;
  }
  branch_.resize(shared);
  for (std::size_t level = shared; level < length; ++level) {
    branch_.push_back(Append(branch_.empty() ? -1 : branch_.back(), node.v[length - 1 - level]));
  }
  changes_.push_back(
      {branch_.empty() ? -1 : branch_.back(), op, Copy(old_value), Copy(new_value), deleted_entry});
}

bool ChangeLog::Same(const Element& element, const confd_value_t* values) const {
  if (CountValues(values) != element.values.size()) {
    return false;
  }
  for (std::size_t i = 0; i < element.values.size(); ++i) {
    if (confd_val_eq(element.values[i].get(), &values[i]) == 0) {
      return false;
    }
  }
  return true;
}

int ChangeLog::Append(int parent, const confd_value_t* values) {
  Element element{parent, {}};
  const std::size_t count = CountValues(values);
  element.values.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    element.values.push_back(Copy(&values[i]));
  }
  elements_.push_back(std::move(element));
  return static_cast<int>(elements_.size()) - 1;
}

void ChangeLog::Restore(const Change& change, confd_hkeypath_t& keypath) const {
  int level = 0;
  for (int place = change.place; place >= 0;) {
    const Element& element = elements_[static_cast<std::size_t>(place)];
    std::size_t slot = 0;
    for (const OwnedValue& value : element.values) {
      keypath.v[level][slot++] = *value;
    }
    for (; slot < MAXKEYLEN && keypath.v[level][slot].type != C_NOEXISTS; ++slot) {
      CONFD_SET_NOEXISTS(&keypath.v[level][slot]);
    }
    ++level;
    place = element.parent;
  }
  for (int unused = level; unused < keypath.len; ++unused) {
    for (confd_value_t& value : keypath.v[unused]) {
      CONFD_SET_NOEXISTS(&value);
    }
  }
  keypath.len = level;
}

void ChangeLog::SkipBelow(const Change& change) {
  elements_[static_cast<std::size_t>(change.place)].skip_below = true;
}

void ChangeLog::SkipSiblings(const Change& change) {
  const Element& node = elements_[static_cast<std::size_t>(change.place)];
  // The keys of an entry stand below the tag of their list, which is no node
  // of its own: the entry's parent is the one above.
  const bool has_keys = node.values.front()->type != C_XMLTAG;
  const int parent =
      has_keys ? elements_[static_cast<std::size_t>(node.parent)].parent : node.parent;
  if (parent < 0) {
    skip_all_ = true;
  } else {
    elements_[static_cast<std::size_t>(parent)].skip_below = true;
  }
}

bool ChangeLog::Skipped(const Change& change) const {
  if (skip_all_) {
    return true;
  }
  for (int place = elements_[static_cast<std::size_t>(change.place)].parent; place >= 0;) {
    const Element& element = elements_[static_cast<std::size_t>(place)];
    if (element.skip_below) {
      return true;
    }
    place = element.parent;
  }
  return false;
}

}  // namespace velconfd
