// What the handles of the log-configuration library stand for.
#ifndef ELEM_LOG_CFG_HANDLE_H
#define ELEM_LOG_CFG_HANDLE_H

#include "elem_log_cfg.h"

// The log configuration of this program as the element's tools see it.
struct ElemLogCfgHandle {
  ElemLogCfgRecord record;
  ElemLogCfgComponent** components;  // the program's pointer to its table
};

#endif
