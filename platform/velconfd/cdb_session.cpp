#include "velconfd/cdb_session.h"

#include "velconfd_interface.h"

VelConfdCdbSessionBase::VelConfdCdbSessionBase(VelConfdInterface* confd, cdb_db_type database,
                                               bool /*lock_free_reads*/)
    : confd_(confd), socket_(confd != nullptr ? confd->BeginSession(database) : -1) {}

VelConfdCdbSessionBase::~VelConfdCdbSessionBase() {
  if (socket_ >= 0) {
    confd_->EndSession(socket_);
  }
}

int VelConfdCdbSessionBase::Socket() const {
  return socket_;
}
