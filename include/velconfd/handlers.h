// Base classes of the programs' handlers in the ConfD handler framework
// (library libvelconfd). A program derives from them, overrides what it needs
// and gives its handlers to one velconfd::AppInterface, which calls them from
// inside the middleware loop, one call at a time. The order of the virtual
// operations is the framework's.
#ifndef VELCONFD_HANDLERS_H
#define VELCONFD_HANDLERS_H

#include <confd_dp.h>
#include <confd_lib.h>

#include <vector>

#include "velconfd/subscription_point.h"

struct zlog_category_s;
class VelConfdInterface;

// Start phases of the agent.
enum ELEM_CONFD_PHASE_ET {
  ELEM_CONFD_PHASE_0 = 0,
  ELEM_CONFD_PHASE_1 = 1,
  ELEM_CONFD_PHASE_2 = 2,  // the agent serves everybody
};

namespace velconfd {

class AppInterface;

class BaseHandler {
 public:
  explicit BaseHandler(zlog_category_s* log = nullptr);
  virtual ~BaseHandler();

  BaseHandler(const BaseHandler&) = delete;
  BaseHandler& operator=(const BaseHandler&) = delete;

  // The connection to ConfD is up in the given start phase. Does nothing.
  virtual void ConfdConnected(ELEM_CONFD_PHASE_ET phase);
  // The connection to ConfD is lost. Does nothing.
  virtual void ConfdDisconnected();

 protected:
  zlog_category_s* base_log_;  // may be null; not owned
  // The framework's connection; null until the handler is given to an
  // AppInterface, and again when that is gone. Not owned.
  VelConfdInterface* confd_ = nullptr;

 private:
  friend class AppInterface;
};

// Mirrors configuration.
class ConfigHandler : public BaseHandler {
 public:
  using BaseHandler::BaseHandler;
  ~ConfigHandler() override;

  // Reads the whole configuration; `socket` has an open session on the
  // running datastore. Called once in a process's life.
  virtual void LoadInitialConfig(int socket) = 0;
  // After LoadInitialConfig. A result other than 0 is logged.
  virtual int ApplyInitialConfig() = 0;
  // Around the iterate callables of one commit. A result other than 0 is
  // logged.
  virtual void StartCommit() = 0;
  virtual int ApplyCommitConfig() = 0;
  virtual const std::vector<SubscriptionPoint>& GetSubscriptionPoints() const = 0;
};

// Answers reads of operational data.
class DataHandler : public BaseHandler {
 public:
  // One data callpoint. The default of every callback but GetCallpoint
  // returns CONFD_ERR. This framework calls GetElemCallback and
  // GetNextCallback only; the others keep the places of the element's own.
  class Callpoint {
   public:
    Callpoint() = default;
    virtual ~Callpoint();

    Callpoint(const Callpoint&) = delete;
    Callpoint& operator=(const Callpoint&) = delete;

    virtual int ExistsOptionalCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath);
    virtual int GetNextCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath, long next);
    virtual int GetElemCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath);
    virtual int SetElemCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                                confd_value_t* value);
    virtual int CreateCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath);
    virtual int RemoveCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath);
    virtual int NumInstancesCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath);
    virtual int GetObjectCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath);
    virtual int GetNextObjectCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath, long next);
    virtual int FindNextObjectCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                                       enum confd_find_next_type type, confd_value_t* keys,
                                       int nkeys);
    virtual int WriteAllCallback(confd_trans_ctx* tctx, confd_hkeypath_t* keypath);
    // Name under which the framework registers the callpoint; valid as long
    // as the object.
    virtual const char* GetCallpoint() = 0;
  };

  using BaseHandler::BaseHandler;
  ~DataHandler() override;

  // Around the reads of one transaction, for any of the program's handlers.
  // A transaction that is open when the agent is lost has no
  // TransactionFinish. They return CONFD_OK.
  virtual int TransactionInit(confd_trans_ctx* tctx);
  virtual int TransactionFinish(confd_trans_ctx* tctx);
  // The callpoints stay the handler's.
  virtual const std::vector<Callpoint*>& GetCallpoints() const = 0;
};

// A data handler that also writes operational records.
class StatusHandler : public DataHandler {
 public:
  // The options choose what the framework does for the handler beyond
  // answering reads; with all of them false it does nothing more.
  StatusHandler(bool option1, bool option2, bool option3);
  ~StatusHandler() override;
};

// Performs one action.
class ActionHandler : public BaseHandler {
 public:
  using BaseHandler::BaseHandler;
  ~ActionHandler() override;

  // Name of the action point.
  virtual const char* GetActionPoint() const = 0;
  // Returns CONFD_OK or CONFD_ERR. The arguments are valid during the call.
  virtual int ActionCb(confd_user_info* user, xml_tag* name, confd_hkeypath_t* keypath,
                       confd_tag_value_t* params, int nparams) = 0;
  // Completion of an argument on a command line. Returns CONFD_ERR. Not called
  // by this framework.
  virtual int CompletionCb(confd_user_info* user, int cli_style, char* token, int completion_char,
                           confd_hkeypath_t* keypath, char* cmdpath, char* cmdparam_id,
                           confd_qname* simple_type, char* extra);
};

}  // namespace velconfd

#endif
