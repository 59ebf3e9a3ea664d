// A callback of the program that answers reads.
#ifndef CONFD_CLIENT_READ_CALLBACK_H
#define CONFD_CLIENT_READ_CALLBACK_H

#include <string>

#include "confd_client/daemon.h"
#include "confd_client/error.h"

namespace confd {

class ReadCallback {
 public:
  enum class Outcome {
    kAnswered,
    kDelayed,      // the answer will come, and the agent has to be told so
    kGivenUp,      // by the agent, while it ran
    kFailed,       // without an answer, and the agent has to be told so
    kFailedLater,  // after it had answered, or was given up
  };

  ReadCallback(Daemon& daemon, const std::string& callpoint, std::uint32_t transaction);

  // Why it cannot be called now; empty when it can.
  std::string Objection() const;
  // `call` takes the program's callbacks and the context.
  template <typename Callback>
  Outcome Run(const OpenRead& read, Callback call) {
    Prepare(read);
    return Judge(read.id, Guarded([&] { return call(*callbacks_, *transaction_); }));
  }
  // Why it failed.
  std::string Failure() const;

 private:
  void Prepare(const OpenRead& read);
  Outcome Judge(std::uint64_t id, int result);

  Daemon& daemon_;
  const std::string& callpoint_;
  std::uint32_t number_;
  const confd_data_cbs* callbacks_;
  std::shared_ptr<Transaction> transaction_;
  int result_ = CONFD_OK;
};

}  // namespace confd

#endif
