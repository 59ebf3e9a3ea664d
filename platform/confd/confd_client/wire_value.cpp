#include "confd_client/wire_value.h"

#include <utility>

#include "confd_client/error.h"
#include "confd_client/value.h"
#include "frame.h"

namespace confd {
namespace {

template <typename T>
T Narrow(const cfm::agent::Value& value) {
  if (!std::in_range<T>(value.number())) {
    throw ipc::ProtocolError("number " + std::to_string(value.number()) +
                             " does not fit a value of type " + std::to_string(value.type()));
  }
  return static_cast<T>(value.number());
}

unsigned char* Bytes(const std::string& text) {
  // The C API has no const here; nobody writes through it.
  return reinterpret_cast<unsigned char*>(const_cast<char*>(text.c_str()));
}

void WriteList(const confd_list_t& list, cfm::agent::Value& message) {
  if (list.ptr == nullptr && list.size > 0) {
    throw ApiError(CONFD_ERR_BADTYPE, "the elements of a C_LIST are null");
  }
  for (unsigned int i = 0; i < list.size; ++i) {
    *message.add_list() = WireValue(list.ptr[i]);
  }
}

}  // namespace

confd_value_t BorrowScalar(const cfm::agent::Value& value) {
  confd_value_t result{};
  switch (value.type()) {
    case C_NOEXISTS:
      CONFD_SET_NOEXISTS(&result);
      break;
    case C_XMLTAG:
      CONFD_SET_XMLTAG(&result, value.tag(), value.ns());
      break;
    case C_STR:
    case C_BUF:
      CONFD_SET_BUF(&result, Bytes(value.text()), static_cast<unsigned int>(value.text().size()));
      break;
    case C_INT8:
      CONFD_SET_INT8(&result, Narrow<std::int8_t>(value));
      break;
    case C_INT16:
      CONFD_SET_INT16(&result, Narrow<std::int16_t>(value));
      break;
    case C_INT32:
      CONFD_SET_INT32(&result, Narrow<std::int32_t>(value));
      break;
    case C_INT64:
      CONFD_SET_INT64(&result, value.number());
      break;
    case C_UINT8:
      CONFD_SET_UINT8(&result, Narrow<std::uint8_t>(value));
      break;
    case C_UINT16:
      CONFD_SET_UINT16(&result, Narrow<std::uint16_t>(value));
      break;
    case C_UINT32:
      CONFD_SET_UINT32(&result, Narrow<std::uint32_t>(value));
      break;
    case C_UINT64:
      CONFD_SET_UINT64(&result, static_cast<std::uint64_t>(value.number()));
      break;
    case C_BOOL:
      CONFD_SET_BOOL(&result, value.number() != 0 ? 1 : 0);
      break;
    case C_ENUM_VALUE:
      CONFD_SET_ENUM_VALUE(&result, Narrow<std::int32_t>(value));
      break;
    default:
      throw ipc::ProtocolError("value of type " + std::to_string(value.type()) +
                               ", which this interface does not have here");
  }
  return result;
}

BorrowedValue::BorrowedValue(const cfm::agent::Value& value) : value_{} {
  if (value.type() != C_LIST) {
    value_ = BorrowScalar(value);
    return;
  }
  elements_.reserve(static_cast<std::size_t>(value.list_size()));
  for (const auto& element : value.list()) {
    elements_.push_back(BorrowScalar(element));
  }
  value_.type = C_LIST;
  value_.val.list.ptr = elements_.data();
  value_.val.list.size = static_cast<unsigned int>(elements_.size());
}

cfm::agent::Value WireValue(const confd_value_t& value) {
  cfm::agent::Value message;
  message.set_type(value.type);
  if (value.type == C_BUF && value.val.buf.ptr == nullptr && value.val.buf.size > 0) {
    throw ApiError(CONFD_ERR_BADTYPE, "the bytes of a C_BUF are null");
  }
  if (const auto bytes = BytesOf(value)) {
    message.set_type(C_BUF);
    message.set_text(bytes->data(), bytes->size());
  } else if (const auto number = NumberOf(value)) {
    message.set_number(*number);
  } else if (value.type == C_XMLTAG) {
    message.set_tag(value.val.xmltag.tag);
    message.set_ns(value.val.xmltag.ns);
  } else if (value.type == C_LIST) {
    WriteList(value.val.list, message);
  } else {
    throw ApiError(CONFD_ERR_BADTYPE,
                   "a value of type " + std::to_string(value.type) + " cannot be given");
  }
  return message;
}

}  // namespace confd
