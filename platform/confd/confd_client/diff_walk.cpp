#include "confd_client/diff_walk.h"

#include <optional>

#include "confd_client/error.h"
#include "confd_client/names.h"
#include "confd_client/path_message.h"
#include "confd_client/wire_value.h"
#include "frame.h"

namespace confd {
namespace {

void CheckOperation(std::uint32_t op) {
  if (op > MOP_VALUE_SET) {
    throw ipc::ProtocolError("a change of kind " + std::to_string(op));
  }
}

// Null for a value that the change does not have.
class OptionalValue {
 public:
  OptionalValue(bool is_there, const cfm::agent::Value& value) {
    if (is_there) {
      value_.emplace(value);
    }
  }
  confd_value_t* Get() { return value_ ? &value_->Get() : nullptr; }

 private:
  std::optional<BorrowedValue> value_;
};

}  // namespace

DiffWalk::DiffWalk(const Names& names, const Path& point, std::uint32_t name_space, int flags,
                   IterateCallback callback, void* state)
    : names_(names),
      point_(point),
      name_space_(name_space),
      wants_old_values_((flags & ITER_WANT_PREV) != 0),
      callback_(callback),
      state_(state) {}

void DiffWalk::Run(const Change& root) {
  Approach(root, 0);
}

// On the way to the point: only what bears the names of its path.
DiffWalk::Next DiffWalk::Approach(const Change& parent, std::size_t step) {
  for (const Change& child : parent.children()) {
    if (!Matches(child, point_[step])) {
      continue;
    }
    const Next next = ApproachChild(child, step);
    if (next != Next::kSibling) {
      return next;
    }
  }
  return Next::kSibling;
}

DiffWalk::Next DiffWalk::ApproachChild(const Change& child, std::size_t step) {
  if (step + 1 == point_.size()) {
    return Report(child);
  }
  if (child.op() == MOP_DELETED) {
    return Next::kSibling;  // the point is gone with it and is not called
  }
  return Inside(child, [&] {
    const Next next = Approach(child, step + 1);
    // ITER_UP leaves the instances in this parent, not those in the next one.
    return next == Next::kUp ? Next::kSibling : next;
  });
}

DiffWalk::Next DiffWalk::ReportChildren(const Change& parent) {
  for (const Change& child : parent.children()) {
    const Next next = Report(child);
    if (next != Next::kSibling) {
      return next == Next::kUp ? Next::kSibling : next;
    }
  }
  return Next::kSibling;
}

DiffWalk::Next DiffWalk::Report(const Change& change) {
  CheckOperation(change.op());
  return Inside(change, [&] {
    const confd_iter_ret result = change.op() == 0 ? ITER_RECURSE : Call(change);
    switch (result) {
      case ITER_RECURSE:
        return change.op() == MOP_DELETED ? Next::kSibling : ReportChildren(change);
      case ITER_CONTINUE:
        return Next::kSibling;
      case ITER_UP:
        return Next::kUp;
      case ITER_STOP:
        return Next::kStop;
    }
    throw ApiError(CONFD_ERR_PROTOUSAGE, "the iterate callback returned " + std::to_string(result) +
                                             ", which is no confd_iter_ret: the walk ends");
  });
}

confd_iter_ret DiffWalk::Call(const Change& change) {
  OptionalValue old_value(wants_old_values_ && change.has_old_value(), change.old_value());
  OptionalValue new_value(change.has_new_value(), change.new_value());
  return callback_(&keypath_.Fill(), static_cast<confd_iter_op>(change.op()), old_value.Get(),
                   new_value.Get(), state_);
}

bool DiffWalk::Matches(const Change& change, const Step& step) const {
  const std::string* name = names_.NameOf(change.tag());
  return name != nullptr && *name == step.name &&
         (step.keys.empty() || IndexText(step.keys) == IndexText(change.keys()));
}

// Runs `visit` with the keypath at `change`.
template <typename Visit>
DiffWalk::Next DiffWalk::Inside(const Change& change, Visit visit) {
  const int depth = keypath_.Depth();
  Push(change);
  const Next next = visit();
  while (keypath_.Depth() > depth) {
    keypath_.Pop();
  }
  return next;
}

void DiffWalk::Push(const Change& change) {
  confd_value_t tag{};
  CONFD_SET_XMLTAG(&tag, change.tag(), name_space_);
  keypath_.Push();
  keypath_.Add(tag);
  if (change.keys_size() > 0 || change.has_element()) {
    keypath_.Push();
  }
  for (const auto& key : change.keys()) {
    keypath_.Add(BorrowScalar(key));
  }
  if (change.has_element()) {
    keypath_.Add(BorrowScalar(change.element()));
  }
}

}  // namespace confd
