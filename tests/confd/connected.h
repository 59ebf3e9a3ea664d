// A data or subscription socket that is connected to a FakeAgent.
#ifndef TESTS_CONFD_CONNECTED_H
#define TESTS_CONFD_CONNECTED_H

#include <confd_cdb.h>

#include <stdexcept>

#include "confd/fake_agent.h"

namespace test {

class Connected {
 public:
  Connected(const FakeAgent& agent, cdb_sock_type type) : fd_(agent.NewSocket()) {
    if (cdb_connect(fd_, type, agent.Address(), agent.AddressSize()) != CONFD_OK) {
      const std::string cause = confd_lasterr();
      cdb_close(fd_);
      throw std::runtime_error(cause);
    }
  }
  ~Connected() { Close(); }

  Connected(const Connected&) = delete;
  Connected& operator=(const Connected&) = delete;

  int Fd() const { return fd_; }
  int Close() { return fd_ < 0 ? CONFD_OK : cdb_close(std::exchange(fd_, -1)); }

 private:
  int fd_;
};

}  // namespace test

#endif
