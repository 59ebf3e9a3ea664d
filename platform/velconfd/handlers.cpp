// Defaults of the handlers' operations.
#include "velconfd/handlers.h"

namespace velconfd {

BaseHandler::BaseHandler(zlog_category_s* log) : base_log_(log) {}
BaseHandler::~BaseHandler() = default;
void BaseHandler::ConfdConnected(ELEM_CONFD_PHASE_ET /*phase*/) {}
void BaseHandler::ConfdDisconnected() {}

ConfigHandler::~ConfigHandler() = default;

DataHandler::~DataHandler() = default;
int DataHandler::TransactionInit(confd_trans_ctx* /*tctx*/) {
  return CONFD_OK;
}
int DataHandler::TransactionFinish(confd_trans_ctx* /*tctx*/) {
  return CONFD_OK;
}

DataHandler::Callpoint::~Callpoint() = default;

int DataHandler::Callpoint::ExistsOptionalCallback(confd_trans_ctx* /*tctx*/,
                                                   confd_hkeypath_t* /*keypath*/) {
  return CONFD_ERR;
}

int DataHandler::Callpoint::GetNextCallback(confd_trans_ctx* /*tctx*/,
                                            confd_hkeypath_t* /*keypath*/, long /*next*/) {
  return CONFD_ERR;
}

int DataHandler::Callpoint::GetElemCallback(confd_trans_ctx* /*tctx*/,
                                            confd_hkeypath_t* /*keypath*/) {
  return CONFD_ERR;
}

int DataHandler::Callpoint::SetElemCallback(confd_trans_ctx* /*tctx*/,
                                            confd_hkeypath_t* /*keypath*/,
                                            confd_value_t* /*value*/) {
  return CONFD_ERR;
}

int DataHandler::Callpoint::CreateCallback(confd_trans_ctx* /*tctx*/,
                                           confd_hkeypath_t* /*keypath*/) {
  return CONFD_ERR;
}

int DataHandler::Callpoint::RemoveCallback(confd_trans_ctx* /*tctx*/,
                                           confd_hkeypath_t* /*keypath*/) {
  return CONFD_ERR;
}

int DataHandler::Callpoint::NumInstancesCallback(confd_trans_ctx* /*tctx*/,
                                                 confd_hkeypath_t* /*keypath*/) {
  return CONFD_ERR;
}

int DataHandler::Callpoint::GetObjectCallback(confd_trans_ctx* /*tctx*/,
                                              confd_hkeypath_t* /*keypath*/) {
  return CONFD_ERR;
}

int DataHandler::Callpoint::GetNextObjectCallback(confd_trans_ctx* /*tctx*/,
                                                  confd_hkeypath_t* /*keypath*/, long /*next*/) {
  return CONFD_ERR;
}

int DataHandler::Callpoint::FindNextObjectCallback(confd_trans_ctx* /*tctx*/,
                                                   confd_hkeypath_t* /*keypath*/,
                                                   enum confd_find_next_type /*type*/,
                                                   confd_value_t* /*keys*/, int /*nkeys*/) {
  return CONFD_ERR;
}

int DataHandler::Callpoint::WriteAllCallback(confd_trans_ctx* /*tctx*/,
                                             confd_hkeypath_t* /*keypath*/) {
  return CONFD_ERR;
}

StatusHandler::StatusHandler(bool /*option1*/, bool /*option2*/, bool /*option3*/) {}
StatusHandler::~StatusHandler() = default;

ActionHandler::~ActionHandler() = default;

int ActionHandler::CompletionCb(confd_user_info* /*user*/, int /*cli_style*/, char* /*token*/,
                                int /*completion_char*/, confd_hkeypath_t* /*keypath*/,
                                char* /*cmdpath*/, char* /*cmdparam_id*/,
                                confd_qname* /*simple_type*/, char* /*extra*/) {
  return CONFD_ERR;
}

}  // namespace velconfd
