#include "fault.h"

#include <syslog.h>

#include <cerrno>
#include <cstdio>
#include <exception>

#include "log_output.h"
#include "velmidware.h"

namespace velmw {
namespace {

std::string& Name() {
  static std::string& name = *new std::string(program_invocation_short_name);
  return name;
}

std::string Text(const char* text) {
  return text != nullptr ? text : "";
}

void Emit(const std::vector<std::string>& fields, const std::string& line) {
  if (ipc::LogsToJournal()) {
    ipc::SendToJournal(fields);
  } else {
    ipc::WriteLine(line);
  }
}

}  // namespace

std::string FaultLine(const Fault& fault) {
  return ipc::OneLine(fault.program + ": fault severity=" + std::to_string(fault.severity) +
                      " function=" + fault.function + " file=" + fault.file +
                      " line=" + std::to_string(fault.line) + ": " + fault.message);
}

std::vector<std::string> FaultFields(const Fault& fault) {
  return {
      "MESSAGE=" + ipc::OneLine(fault.message),
      "PRIORITY=" + std::to_string(fault.severity == 0 ? LOG_ERR : LOG_CRIT),
      "FAULT_SEVERITY=" + std::to_string(fault.severity),
      "CODE_FILE=" + fault.file,
      "CODE_LINE=" + std::to_string(fault.line),
      "CODE_FUNC=" + fault.function,
      "SYSLOG_IDENTIFIER=" + fault.program,
  };
}

void SetProgramName(const std::string& name) {
  Name() = name;
}

std::string ProgramName() {
  return Name();
}

void ReportError(const std::string& message, const ipc::Place& where) {
  Emit(ipc::ErrorFields(ProgramName(), message, where),
       ProgramName() + ": error: " + ipc::OneLine(message));
}

}  // namespace velmw

void velmw_gen_fault(int severity, const char* function, const char* file, int line,
                     const char* message) {
  try {
    using velmw::Text;
    const velmw::Fault fault{velmw::ProgramName(), severity, Text(function),
                             Text(file),           line,     Text(message)};
    velmw::Emit(velmw::FaultFields(fault), velmw::FaultLine(fault));
  } catch (const std::exception&) {
    std::fputs("fault lost: out of memory\n", stderr);
  }
}
