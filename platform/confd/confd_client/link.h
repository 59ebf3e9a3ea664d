// The library's end of one connection to the agent: frames, and what is left
// of it when the peer dies or sends garbage.
#ifndef CONFD_CLIENT_LINK_H
#define CONFD_CLIENT_LINK_H

#include <agent.pb.h>
#include <google/protobuf/arena.h>
#include <sys/types.h>

#include <string>
#include <string_view>

namespace confd {

class Link {
 public:
  // Borrows a connected stream socket.
  explicit Link(int fd);

  // Each throws ApiError: CONFD_EOF when the agent has closed the connection,
  // CONFD_ERR when it sent what is no message. Either way the connection is
  // over then, and every later call fails with CONFD_EOF. A message that the
  // agent would not take (ipc::AppendFrame) is CONFD_ERR and not sent.
  void Send(const google::protobuf::MessageLite& message);
  void Receive(google::protobuf::MessageLite& message);

  // Sends and awaits the answer. An answer that refuses is an ApiError with
  // the agent's code and text.
  cfm::agent::Reply Transact(const cfm::agent::Request& request);
  // The same for answers of many parts: the answer lives in the arena.
  cfm::agent::Reply& Transact(const cfm::agent::Request& request, google::protobuf::Arena& arena);

  // Throws CONFD_EOF once the connection is over.
  void CheckNotOver() const;
  // Throws when the agent is gone or talks out of turn, without waiting.
  void CheckIdle();

  // Ends the connection because of what the agent sent. The socket itself
  // stays open: its number is the caller's.
  [[noreturn]] void FailForGarbage(std::string_view cause);

 private:
  void Transact(const cfm::agent::Request& request, cfm::agent::FromAgent& answer);
  void CheckUsable();
  bool IsSameSocket() const;
  [[noreturn]] void FailForEnd();
  [[noreturn]] void FailForSystemError(int code, std::string_view cause);
  template <typename Transfer>
  void Guard(Transfer transfer);

  int fd_;
  dev_t device_ = 0;  // and inode_: the socket behind the number
  ino_t inode_ = 0;
  bool is_over_ = false;
};

}  // namespace confd

#endif
