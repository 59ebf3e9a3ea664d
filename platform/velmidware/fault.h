// The two shapes in which a fault leaves the process.
#ifndef VELMIDWARE_FAULT_H
#define VELMIDWARE_FAULT_H

#include <string>
#include <vector>

#include "log_output.h"

namespace velmw {

struct Fault {
  std::string program;
  int severity = 0;
  std::string function;
  std::string file;
  int line = 0;
  std::string message;
};

// `cfm-app: fault severity=1 function=GetNextKey file=status.cpp line=12: text`
std::string FaultLine(const Fault& fault);
// Fields of a journal record, `NAME=value` each.
std::vector<std::string> FaultFields(const Fault& fault);

// Name of the program in faults, backtraces and errors of the middleware.
void SetProgramName(const std::string& name);
std::string ProgramName();

// An error of the middleware itself, to the journal or the standard error
// stream.
void ReportError(const std::string& message, const ipc::Place& where = ipc::Place());

}  // namespace velmw

#endif
