#include "confd_client/error.h"

#include <algorithm>
#include <array>
#include <new>

#include "confd_client/library.h"

extern "C" {
int confd_errno = 0;
}

namespace confd {
namespace {

// Fixed, so that a failure can be told when memory is short.
std::array<char, 2048> last_error{};

struct CodeText {
  int code;
  const char* text;
};

constexpr CodeText kCodeTexts[] = {
    {0, "no error"},
    {CONFD_ERR_NOEXISTS, "item does not exist"},
    {CONFD_ERR_ALREADY_EXISTS, "item exists already"},
    {CONFD_ERR_ACCESS_DENIED, "access denied"},
    {CONFD_ERR_NOT_WRITABLE, "item is not writable"},
    {CONFD_ERR_BADTYPE, "item has another type"},
    {CONFD_ERR_NOTCREATABLE, "item cannot be created"},
    {CONFD_ERR_NOTDELETABLE, "item cannot be deleted"},
    {CONFD_ERR_BADPATH, "bad path"},
    {CONFD_ERR_LOCKED, "datastore is locked"},
    {CONFD_ERR_INUSE, "in use"},
    {CONFD_ERR_BADSTATE, "not possible in this state"},
    {CONFD_ERR_INTERNAL, "internal error"},
    {CONFD_ERR_EXTERNAL, "refused by the agent"},
    {CONFD_ERR_MALLOC, "memory is short"},
    {CONFD_ERR_PROTOUSAGE, "protocol or call used wrongly"},
    {CONFD_ERR_NOSESSION, "no session is open"},
    {CONFD_ERR_OS, "operating system error"},
};

}  // namespace

void SetError(int code, std::string_view text) noexcept {
  confd_errno = code;
  const std::size_t length = std::min(text.size(), last_error.size() - 1);
  std::copy_n(text.begin(), length, last_error.begin());
  last_error[length] = '\0';
  Say(CONFD_DEBUG, last_error.data());
}

int RecordCurrentException() noexcept {
  try {
    throw;
  } catch (const ApiError& error) {
    SetError(error.Code(), error.what());
    return error.Result();
  } catch (const std::bad_alloc&) {
    SetError(CONFD_ERR_MALLOC, "memory is short");
  } catch (const std::exception& error) {
    SetError(CONFD_ERR_INTERNAL, error.what());
  } catch (...) {
    SetError(CONFD_ERR_INTERNAL, "a callback threw something that is no std::exception");
  }
  return CONFD_ERR;
}

}  // namespace confd

extern "C" {

const char* confd_lasterr(void) {
  return confd::last_error.data();
}

const char* confd_strerror(int code) {
  for (const auto& entry : confd::kCodeTexts) {
    if (entry.code == code) {
      return entry.text;
    }
  }
  return "unknown error";
}

}  // extern "C"
