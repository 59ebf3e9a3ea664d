// What protobuf finds wrong with a message. By itself it writes that on the
// standard error stream of whatever program it is in, at a peer's pleasure and
// past the program's log.
#ifndef IPC_PROTOBUF_COMPLAINTS_H
#define IPC_PROTOBUF_COMPLAINTS_H

#include <string>

namespace ipc {

// Takes in what protobuf says on this thread while it lives; one at a time.
// What protobuf says elsewhere goes where it went before.
class ProtobufComplaints {
 public:
  ProtobufComplaints();
  ~ProtobufComplaints();

  ProtobufComplaints(const ProtobufComplaints&) = delete;
  ProtobufComplaints& operator=(const ProtobufComplaints&) = delete;

  bool HasSome() const { return !first_.empty(); }
  // The end of an error message: ": " and the first complaint; empty when
  // there is none.
  std::string Text() const { return HasSome() ? ": " + first_ : ""; }

 private:
  friend struct ComplaintsTaker;

  std::string first_;  // without what it advises the programmer
};

}  // namespace ipc

#endif
