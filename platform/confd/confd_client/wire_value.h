// Values of the agent's protocol as values of the C API.
#ifndef CONFD_CLIENT_WIRE_VALUE_H
#define CONFD_CLIENT_WIRE_VALUE_H

#include <agent.pb.h>
#include <confd_lib.h>

#include <vector>

namespace confd {

// A confd_value_t whose strings are those of the message, which must stay.
// Throws ipc::ProtocolError for a value that the API does not know or whose
// number does not fit its type.
class BorrowedValue {
 public:
  explicit BorrowedValue(const cfm::agent::Value& value);

  BorrowedValue(const BorrowedValue&) = delete;
  BorrowedValue& operator=(const BorrowedValue&) = delete;

  confd_value_t& Get() { return value_; }

 private:
  confd_value_t value_;
  std::vector<confd_value_t> elements_;  // of a C_LIST
};

// One value that is no list, borrowed likewise.
confd_value_t BorrowScalar(const cfm::agent::Value& value);

// A program's value as a message; a string becomes a C_BUF. Throws ApiError,
// CONFD_ERR_BADTYPE, for a value that is none.
cfm::agent::Value WireValue(const confd_value_t& value);

}  // namespace confd

#endif
