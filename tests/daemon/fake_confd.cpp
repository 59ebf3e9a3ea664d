#include "daemon/fake_confd.h"

#include <cstdarg>
#include <cstdio>
#include <map>
#include <set>
#include <utility>

#include "daemon/fake_confd_values.h"
#include "daemon/fake_platform.h"

namespace fake {
namespace {

struct State {
  std::map<std::string, CdbValue> leaves;
  std::set<std::string> empty_leaves;
  std::map<std::string, std::vector<CdbValue>> entries;
  std::map<std::string, std::string> failures;
  std::vector<std::string> calls;
  std::string last_error = "no error";
};

State& Current() {
  static State state;
  return state;
}

std::string KeyText(const CdbValue& key) {
  const auto* text = std::get_if<std::string>(&key);
  return text != nullptr ? *text : std::to_string(std::get<int>(key));
}

// A 64-bit key is shown as its number, another value with its type.
std::string KeyArgument(const confd_value_t& key) {
  return key.type == C_INT64 ? std::to_string(CONFD_GET_INT64(&key)) : Shown(key);
}

std::string Format(const char* format, va_list arguments) {
  std::string text;
  for (const char* at = format; *at != '\0'; ++at) {
    if (*at != '%') {
      text += *at;
      continue;
    }
    switch (*++at) {
      case 's':
        text += va_arg(arguments, const char*);
        break;
      case 'd':
        text += std::to_string(va_arg(arguments, int));
        break;
      case 'x':
        text += KeyArgument(*va_arg(arguments, const confd_value_t*));
        break;
      default:
        text += "(a verb that paths do not have)";
        break;
    }
  }
  return text;
}

// Replaces positions, md[0], by keys, md{east}.
std::string ByKeys(const std::string& path) {
  std::string result;
  for (std::size_t i = 0; i < path.size(); ++i) {
    if (path[i] != '[') {
      result += path[i];
      continue;
    }
    const std::size_t end = path.find(']', i);
    const std::size_t position = std::stoul(path.substr(i + 1, end - i - 1));
    result += "{" + KeyText(Current().entries.at(result).at(position)) + "}";
    i = end;
  }
  return result;
}

bool FailsByPath(const std::string& path) {
  const auto failure = Current().failures.find(path);
  if (failure == Current().failures.end()) {
    return false;
  }
  Current().last_error = failure->second;
  return true;
}

// Notes the call; true when it is to fail.
bool Fails(const char* call, int socket, const std::string& path) {
  Current().calls.push_back(std::string(call) + " " + std::to_string(socket) + " " + path);
  return FailsByPath(path);
}

// The same for an operational write; `value` is empty where there is none.
int Write(const char* call, int socket, const std::string& path, const std::string& value) {
  NoteCall(std::string(call) + " " + std::to_string(socket) + " " + path + value);
  return FailsByPath(path) ? CONFD_ERR : CONFD_OK;
}

const CdbValue* Find(const std::string& path) {
  const auto leaf = Current().leaves.find(ByKeys(path));
  if (leaf == Current().leaves.end()) {
    Current().last_error = "item does not exist";
    return nullptr;
  }
  return &leaf->second;
}

}  // namespace

void ResetConfd() {
  Current() = State{};
  ResetValues();
}
void SetLeaf(const std::string& path, CdbValue value) {
  Current().leaves[path] = std::move(value);
}
void SetEmptyLeaf(const std::string& path) {
  Current().empty_leaves.insert(path);
}

void AddEntry(const std::string& list, CdbValue key) {
  SetLeaf(list + "{" + KeyText(key) + "}/id", key);
  Current().entries[list].push_back(std::move(key));
}

void FailCdb(const std::string& path, const std::string& text) {
  Current().failures[path] = text;
}
std::vector<std::string>& CdbCalls() {
  return Current().calls;
}
void NoteCall(const std::string& call) {
  Current().calls.push_back(call);
  Event(call);
}
}  // namespace fake

using fake::Current;
using fake::Fails;

extern "C" {

int cdb_num_instances(int sock, const char* fmt, ...) {
  va_list arguments;
  va_start(arguments, fmt);
  const std::string path = fake::Format(fmt, arguments);
  va_end(arguments);
  if (Fails("cdb_num_instances", sock, path)) {
    return CONFD_ERR;
  }
  const auto list = Current().entries.find(fake::ByKeys(path));
  return list == Current().entries.end() ? 0 : static_cast<int>(list->second.size());
}

int cdb_exists(int sock, const char* fmt, ...) {
  va_list arguments;
  va_start(arguments, fmt);
  const std::string path = fake::Format(fmt, arguments);
  va_end(arguments);
  if (Fails("cdb_exists", sock, path)) {
    return CONFD_ERR;
  }
  const bool exists =
      Current().empty_leaves.count(path) != 0 || Current().leaves.count(fake::ByKeys(path)) != 0;
  return exists ? 1 : 0;
}

int cdb_get(int sock, confd_value_t* v, const char* fmt, ...) {
  va_list arguments;
  va_start(arguments, fmt);
  const std::string path = fake::Format(fmt, arguments);
  va_end(arguments);
  const fake::CdbValue* value = Fails("cdb_get", sock, path) ? nullptr : fake::Find(path);
  if (value == nullptr) {
    return CONFD_ERR;
  }
  fake::Convert(*value, v);
  return CONFD_OK;
}

int cdb_get_list(int sock, confd_value_t** values, int* n, const char* fmt, ...) {
  va_list arguments;
  va_start(arguments, fmt);
  const std::string path = fake::Format(fmt, arguments);
  va_end(arguments);
  const fake::CdbValue* value = Fails("cdb_get_list", sock, path) ? nullptr : fake::Find(path);
  if (value == nullptr) {
    return CONFD_ERR;
  }
  *values = fake::NewList(*value, n);
  return CONFD_OK;
}

int cdb_get_int32(int sock, int32_t* rval, const char* fmt, ...) {
  va_list arguments;
  va_start(arguments, fmt);
  const std::string path = fake::Format(fmt, arguments);
  va_end(arguments);
  const fake::CdbValue* value = Fails("cdb_get_int32", sock, path) ? nullptr : fake::Find(path);
  *rval = value == nullptr ? -4711 : std::get<int>(*value);
  return value == nullptr ? CONFD_ERR : CONFD_OK;
}

int cdb_get_enum_value(int sock, int32_t* rval, const char* fmt, ...) {
  va_list arguments;
  va_start(arguments, fmt);
  const std::string path = fake::Format(fmt, arguments);
  va_end(arguments);
  const fake::CdbValue* value =
      Fails("cdb_get_enum_value", sock, path) ? nullptr : fake::Find(path);
  *rval = value == nullptr ? -4711 : std::get<fake::Enumeration>(*value).value;
  return value == nullptr ? CONFD_ERR : CONFD_OK;
}

int cdb_get_str(int sock, char* rval, int n, const char* fmt, ...) {
  va_list arguments;
  va_start(arguments, fmt);
  const std::string path = fake::Format(fmt, arguments);
  va_end(arguments);
  const fake::CdbValue* value = Fails("cdb_get_str", sock, path) ? nullptr : fake::Find(path);
  if (value == nullptr) {
    return CONFD_ERR;
  }
  std::snprintf(rval, static_cast<std::size_t>(n), "%s", std::get<std::string>(*value).c_str());
  return CONFD_OK;
}

int cdb_create(int sock, const char* fmt, ...) {
  va_list arguments;
  va_start(arguments, fmt);
  const std::string path = fake::Format(fmt, arguments);
  va_end(arguments);
  return fake::Write("cdb_create", sock, path, "");
}

int cdb_delete(int sock, const char* fmt, ...) {
  va_list arguments;
  va_start(arguments, fmt);
  const std::string path = fake::Format(fmt, arguments);
  va_end(arguments);
  return fake::Write("cdb_delete", sock, path, "");
}

int cdb_set_elem(int sock, confd_value_t* val, const char* fmt, ...) {
  va_list arguments;
  va_start(arguments, fmt);
  const std::string path = fake::Format(fmt, arguments);
  va_end(arguments);
  return fake::Write("cdb_set_elem", sock, path, " " + fake::Shown(*val));
}

// Replies are refused, as late ones are: nobody looks at the result.
int confd_data_reply_value(confd_trans_ctx* tctx, const confd_value_t* v) {
  fake::NoteCall("reply " + std::to_string(tctx->thandle) + ": " + fake::Shown(*v));
  return CONFD_ERR;
}

int confd_data_reply_next_key(confd_trans_ctx* tctx, const confd_value_t* v, int num_vals_in_key,
                              long next) {
  fake::NoteCall("next_key " + std::to_string(tctx->thandle) + ": " +
                 (v == nullptr ? "none" : fake::Shown(*v)) +
                 " keys=" + std::to_string(num_vals_in_key) + " next=" + std::to_string(next));
  return CONFD_ERR;
}

const char* confd_lasterr(void) {
  return Current().last_error.c_str();
}

}  // extern "C"
