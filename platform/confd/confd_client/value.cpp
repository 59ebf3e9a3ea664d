#include "confd_client/value.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace confd {
namespace {

struct MallocDeleter {
  void operator()(void* memory) const { std::free(memory); }
};

template <typename T>
std::unique_ptr<T[], MallocDeleter> Allocate(std::size_t count) {
  void* memory = std::calloc(std::max<std::size_t>(count, 1), sizeof(T));
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return std::unique_ptr<T[], MallocDeleter>(static_cast<T*>(memory));
}

// Whether a C_STR is the value's own (a duplicate) or the caller's.
enum class Strings { kOwned, kBorrowed };

void FreeContents(confd_value_t& value, Strings strings) {
  if (value.type == C_BUF) {
    std::free(value.val.buf.ptr);
  } else if (value.type == C_STR && strings == Strings::kOwned) {
    std::free(value.val.s);
  } else if (value.type == C_LIST) {
    for (unsigned int i = 0; i < value.val.list.size; ++i) {
      FreeContents(value.val.list.ptr[i], strings);
    }
    std::free(value.val.list.ptr);
  }
  value.type = C_NOEXISTS;
}

void CopyBytes(std::string_view bytes, confd_value_t& to) {
  auto memory = Allocate<char>(bytes.size() + 1);  // and the NUL
  std::copy(bytes.begin(), bytes.end(), memory.get());
  if (to.type == C_STR) {
    to.val.s = memory.release();
  } else {
    to.val.buf.ptr = reinterpret_cast<unsigned char*>(memory.release());
  }
}

void CopyList(const confd_list& from, confd_value_t& to) {
  auto elements = Allocate<confd_value_t>(from.size);
  unsigned int done = 0;
  try {
    for (; done < from.size; ++done) {
      CopyValue(from.ptr[done], elements[done]);
    }
  } catch (const std::bad_alloc&) {
    std::for_each_n(elements.get(), done,
                    [](auto& element) { FreeContents(element, Strings::kOwned); });
    throw;
  }
  to.val.list.ptr = elements.release();
}

bool SameList(const confd_list& a, const confd_list& b) {
  return std::equal(a.ptr, a.ptr + a.size, b.ptr, b.ptr + b.size,
                    [](const auto& x, const auto& y) { return confd_val_eq(&x, &y) != 0; });
}

}  // namespace

std::optional<std::string_view> BytesOf(const confd_value_t& value) {
  if (value.type == C_BUF) {
    return std::string_view(CONFD_GET_CBUFPTR(&value), CONFD_GET_BUFSIZE(&value));
  }
  if (value.type == C_STR && value.val.c_s != nullptr) {
    return std::string_view(value.val.c_s);
  }
  return std::nullopt;
}

std::optional<std::int64_t> NumberOf(const confd_value_t& value) {
  switch (value.type) {
    case C_INT8:
      return value.val.i8;
    case C_INT16:
      return value.val.i16;
    case C_INT32:
      return value.val.i32;
    case C_INT64:
      return value.val.i64;
    case C_UINT8:
      return value.val.u8;
    case C_UINT16:
      return value.val.u16;
    case C_UINT32:
      return value.val.u32;
    case C_UINT64:
      return static_cast<std::int64_t>(value.val.u64);
    case C_BOOL:
      return value.val.boolean != 0 ? 1 : 0;
    case C_ENUM_VALUE:
      return value.val.enumvalue;
    default:
      return std::nullopt;
  }
}

void CopyValue(const confd_value_t& from, confd_value_t& to) {
  confd_value_t copy = from;
  if (const auto bytes = BytesOf(from)) {
    CopyBytes(*bytes, copy);
  } else if (from.type == C_LIST) {
    CopyList(from.val.list, copy);
  }
  to = copy;
}

}  // namespace confd

extern "C" {

void confd_free_value(confd_value_t* v) {
  if (v != nullptr) {
    confd::FreeContents(*v, confd::Strings::kBorrowed);
  }
}

confd_value_t* confd_value_dup(const confd_value_t* v) {
  if (v == nullptr) {
    return nullptr;
  }
  try {
    auto copy = confd::Allocate<confd_value_t>(1);
    confd::CopyValue(*v, copy[0]);
    return copy.release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void confd_free_dup_value(confd_value_t* v) {
  if (v != nullptr) {
    confd::FreeContents(*v, confd::Strings::kOwned);
    std::free(v);
  }
}

int confd_val_eq(const confd_value_t* v1, const confd_value_t* v2) {
  if (v1 == nullptr || v2 == nullptr || v1->type != v2->type) {
    return 0;
  }
  switch (v1->type) {
    case C_NOEXISTS:
      return 1;
    case C_XMLTAG:
      return v1->val.xmltag.tag == v2->val.xmltag.tag && v1->val.xmltag.ns == v2->val.xmltag.ns;
    case C_LIST:
      return confd::SameList(v1->val.list, v2->val.list) ? 1 : 0;
    case C_BUF:
    case C_STR:
      return confd::BytesOf(*v1) == confd::BytesOf(*v2) ? 1 : 0;
    case C_SYMBOL:
      return v1->val.symbol == v2->val.symbol ? 1 : 0;
    default:
      return confd::NumberOf(*v1) == confd::NumberOf(*v2) ? 1 : 0;
  }
}

}  // extern "C"
