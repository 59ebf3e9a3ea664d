#include "daemon/fake_confd_values.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <utility>

#include "daemon/fake_platform.h"

namespace fake {
namespace {

struct State {
  std::optional<std::string> keypath_text;
  std::optional<std::string> value_text;
  int value_text_size = 0;
  int freed = 0;
  int live = 0;
};

State& Current() {
  static State state;
  return state;
}

// Arrays of elements that were handed out. It is never destroyed: memory is
// freed until the process ends.
struct Lists {
  std::set<const void*> live;
  int freed = 0;
};
Lists& HandedOut() {
  static auto& lists = *new Lists;
  return lists;
}

std::vector<confd_value_t> Elements(const CdbValue& list) {
  std::vector<confd_value_t> elements;
  if (const auto* numbers = std::get_if<std::vector<int>>(&list)) {
    for (const int number : *numbers) {
      confd_value_t& element = elements.emplace_back();
      CONFD_SET_INT32(&element, number);
    }
    return elements;
  }
  for (const Enumeration& enumeration : std::get<std::vector<Enumeration>>(list)) {
    confd_value_t& element = elements.emplace_back();
    CONFD_SET_ENUM_VALUE(&element, enumeration.value);
  }
  return elements;
}

std::string ElementText(const confd_value_t& element) {
  std::array<char, 64> text{};
  confd_pp_value(text.data(), static_cast<int>(text.size()), &element);
  return element.type == C_XMLTAG ? std::string("/") + text.data()
                                  : std::string("{") + text.data() + "}";
}

// What confd_pp_value makes of a value.
std::string ValueText(const confd_value_t& value) {
  switch (value.type) {
    case C_XMLTAG: {
      std::array<char, sizeof("0x00000000")> text{};
      std::snprintf(text.data(), text.size(), "0x%08x", CONFD_GET_XMLTAG(&value));
      return text.data();
    }
    case C_BUF:
      return CONFD_GET_CBUFPTR(&value);
    case C_INT32:
      return std::to_string(CONFD_GET_INT32(&value));
    case C_INT64:
      return std::to_string(CONFD_GET_INT64(&value));
    case C_ENUM_VALUE:
      return "enum(" + std::to_string(CONFD_GET_ENUM_VALUE(&value)) + ")";
    default:
      return "type(" + std::to_string(value.type) + ")";
  }
}

}  // namespace

void ResetValues() {
  Current() = State{};
  HandedOut().freed = 0;
}

void Convert(const CdbValue& from, confd_value_t* to) {
  if (const auto* text = std::get_if<std::string>(&from)) {
    auto* bytes = static_cast<unsigned char*>(std::malloc(text->size() + 1));
    std::memcpy(bytes, text->c_str(), text->size() + 1);
    CONFD_SET_BUF(to, bytes, static_cast<unsigned>(text->size()));
    ++Current().live;
  } else if (const auto* number = std::get_if<int>(&from)) {
    CONFD_SET_INT32(to, *number);
  } else {
    CONFD_SET_ENUM_VALUE(to, std::get<Enumeration>(from).value);
  }
}

confd_value_t* NewList(const CdbValue& list, int* count) {
  const std::vector<confd_value_t> elements = Elements(list);
  *count = static_cast<int>(elements.size());
  auto* array =
      static_cast<confd_value_t*>(std::calloc(elements.size() + 1, sizeof(confd_value_t)));
  std::copy(elements.begin(), elements.end(), array);
  HandedOut().live.insert(array);
  return array;
}

std::string Shown(const confd_value_t& value) {
  switch (value.type) {
    case C_STR:
      return std::string("C_STR(") + value.val.c_s + ")";
    case C_INT32:
      return "C_INT32(" + std::to_string(CONFD_GET_INT32(&value)) + ")";
    case C_INT64:
      return "C_INT64(" + std::to_string(CONFD_GET_INT64(&value)) + ")";
    case C_UINT32:
      return "C_UINT32(" + std::to_string(CONFD_GET_UINT32(&value)) + ")";
    case C_UINT64:
      return "C_UINT64(" + std::to_string(CONFD_GET_UINT64(&value)) + ")";
    case C_ENUM_VALUE:
      return "C_ENUM_VALUE(" + std::to_string(CONFD_GET_ENUM_VALUE(&value)) + ")";
    default:
      return "type(" + std::to_string(value.type) + ")";
  }
}

int FreedValues() {
  return Current().freed;
}
int LiveValues() {
  return Current().live;
}
int FreedLists() {
  return HandedOut().freed;
}
int ValueTextSize() {
  return Current().value_text_size;
}
void SetValueText(std::string text) {
  Current().value_text = std::move(text);
}
void SetKeypathText(std::string text) {
  Current().keypath_text = std::move(text);
}

}  // namespace fake

using fake::Current;

extern "C" {

// The linker leads the daemon's calls of free here.
void __real_free(void* memory);
void __wrap_free(void* memory) {
  fake::HandedOut().freed += static_cast<int>(fake::HandedOut().live.erase(memory));
  __real_free(memory);
}

void confd_free_value(confd_value_t* v) {
  fake::Event("confd_free_value");
  ++Current().freed;
  if (v->type == C_BUF) {
    std::free(CONFD_GET_BUFPTR(v));
    --Current().live;
  }
  CONFD_SET_NOEXISTS(v);
}

int confd_pp_value(char* buf, int bufsiz, const confd_value_t* v) {
  Current().value_text_size = bufsiz;
  return std::snprintf(buf, static_cast<std::size_t>(bufsiz), "%s",
                       Current().value_text.value_or(fake::ValueText(*v)).c_str());
}

int confd_pp_kpath(char* buf, int bufsiz, const confd_hkeypath_t* hkeypath) {
  std::string text;
  for (int i = hkeypath->len - 1; i >= 0; --i) {
    text += fake::ElementText(hkeypath->v[i][0]);
  }
  return std::snprintf(buf, static_cast<std::size_t>(bufsiz), "%s",
                       Current().keypath_text.value_or(text).c_str());
}

}  // extern "C"
