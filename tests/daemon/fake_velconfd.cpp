#include "daemon/fake_velconfd.h"

#include <stdexcept>
#include <utility>

#include "daemon/fake_confd.h"
#include "daemon/fake_platform.h"
#include "velconfd/cdb_session.h"

namespace fake {
namespace {
bool fail_next = false;
constexpr int kSessionSocket = 40;
int session_socket = kSessionSocket;
int open_sessions = 0;
constexpr int kConnections = 4;
char connections[kConnections];

// 0 for none.
int NumberOf(const VelConfdInterface* connection) {
  for (int number = 1; number < kConnections; ++number) {
    if (connection == Connection(number)) {
      return number;
    }
  }
  return connection == nullptr ? 0 : -1;
}
}  // namespace

void ResetVelconfd() {
  LastAgentInterface() = AgentInterface{};
  StatusHandlerOptions() = {true, true, true};
  DestroyedCallpoints().clear();
  fail_next = false;
  session_socket = kSessionSocket;
  open_sessions = 0;
}

VelConfdInterface* Connection(int number) {
  return reinterpret_cast<VelConfdInterface*>(&connections[number]);
}
void SetSessionSocket(int socket) {
  session_socket = socket;
}
int OpenSessions() {
  return open_sessions;
}

std::vector<const velconfd::DataHandler::Callpoint*>& DestroyedCallpoints() {
  static std::vector<const velconfd::DataHandler::Callpoint*> destroyed;
  return destroyed;
}

AgentInterface& LastAgentInterface() {
  static AgentInterface last;
  return last;
}

void FailNextAgentInterface() {
  fail_next = true;
}

std::array<bool, 3>& StatusHandlerOptions() {
  static std::array<bool, 3> options{};
  return options;
}

}  // namespace fake

VelConfdCdbSessionBase::VelConfdCdbSessionBase(VelConfdInterface* confd, cdb_db_type database,
                                               bool lock_free_reads)
    : confd_(confd), socket_(fake::session_socket) {
  ++fake::open_sessions;
  fake::NoteCall(std::string("open ") + (database == CDB_RUNNING ? "running" : "operational") +
                 " read=" + std::to_string(lock_free_reads ? 1 : 0) +
                 " connection=" + std::to_string(fake::NumberOf(confd_)));
}

VelConfdCdbSessionBase::~VelConfdCdbSessionBase() {
  --fake::open_sessions;
  fake::NoteCall("close");
}

int VelConfdCdbSessionBase::Socket() const {
  return socket_;
}

namespace velconfd {

BaseHandler::BaseHandler(zlog_category_s* log) : base_log_(log) {}
BaseHandler::~BaseHandler() = default;
void BaseHandler::ConfdConnected(ELEM_CONFD_PHASE_ET) {}
void BaseHandler::ConfdDisconnected() {}

ConfigHandler::~ConfigHandler() {
  fake::Event("~ConfigHandler");
}

DataHandler::Callpoint::~Callpoint() {
  fake::Event("~Callpoint");
  fake::DestroyedCallpoints().push_back(this);
}
int DataHandler::Callpoint::ExistsOptionalCallback(confd_trans_ctx*, confd_hkeypath_t*) {
  return CONFD_ERR;
}
int DataHandler::Callpoint::GetNextCallback(confd_trans_ctx*, confd_hkeypath_t*, long) {
  return CONFD_ERR;
}
int DataHandler::Callpoint::GetElemCallback(confd_trans_ctx*, confd_hkeypath_t*) {
  return CONFD_ERR;
}
int DataHandler::Callpoint::SetElemCallback(confd_trans_ctx*, confd_hkeypath_t*, confd_value_t*) {
  return CONFD_ERR;
}
int DataHandler::Callpoint::CreateCallback(confd_trans_ctx*, confd_hkeypath_t*) {
  return CONFD_ERR;
}
int DataHandler::Callpoint::RemoveCallback(confd_trans_ctx*, confd_hkeypath_t*) {
  return CONFD_ERR;
}
int DataHandler::Callpoint::NumInstancesCallback(confd_trans_ctx*, confd_hkeypath_t*) {
  return CONFD_ERR;
}
int DataHandler::Callpoint::GetObjectCallback(confd_trans_ctx*, confd_hkeypath_t*) {
  return CONFD_ERR;
}
int DataHandler::Callpoint::GetNextObjectCallback(confd_trans_ctx*, confd_hkeypath_t*, long) {
  return CONFD_ERR;
}
int DataHandler::Callpoint::FindNextObjectCallback(confd_trans_ctx*, confd_hkeypath_t*,
                                                   enum confd_find_next_type, confd_value_t*, int) {
  return CONFD_ERR;
}
int DataHandler::Callpoint::WriteAllCallback(confd_trans_ctx*, confd_hkeypath_t*) {
  return CONFD_ERR;
}

DataHandler::~DataHandler() = default;
int DataHandler::TransactionInit(confd_trans_ctx*) {
  return CONFD_OK;
}
int DataHandler::TransactionFinish(confd_trans_ctx*) {
  return CONFD_OK;
}

StatusHandler::StatusHandler(bool option1, bool option2, bool option3) {
  fake::StatusHandlerOptions() = {option1, option2, option3};
}
StatusHandler::~StatusHandler() {
  fake::Event("~StatusHandler");
}

ActionHandler::~ActionHandler() {
  fake::Event("~ActionHandler");
}
int ActionHandler::CompletionCb(confd_user_info*, int, char*, int, confd_hkeypath_t*, char*, char*,
                                confd_qname*, char*) {
  return CONFD_ERR;
}

class AppInterface::Impl {};

AppInterface::AppInterface(velmw_t* middleware, zlog_category_s* log, const char* name,
                           const std::vector<ConfigHandler*>& config_handlers,
                           const std::vector<ActionHandler*>& action_handlers,
                           const std::vector<DataHandler*>& data_handlers,
                           ELEM_CONFD_PHASE_ET phase, int option) {
  fake::Event("AppInterface");
  if (std::exchange(fake::fail_next, false)) {
    throw std::runtime_error("no loop to work in");
  }
  for (BaseHandler* handler : data_handlers) {
    handler->confd_ = fake::Connection(1);
  }
  const BaseHandler* action_handler = action_handlers.front();
  fake::LastAgentInterface() = {
      middleware,    log,   name,   config_handlers,          action_handlers,
      data_handlers, phase, option, action_handler->base_log_};
}

AppInterface::~AppInterface() {
  fake::Event("~AppInterface");
}

}  // namespace velconfd
