#include "protobuf_complaints.h"

#include <google/protobuf/stubs/logging.h>

namespace ipc {
namespace {

thread_local ProtobufComplaints* current = nullptr;

}  // namespace

// protobuf's log handler (SetLogHandler). There is one for the process, so it
// is set once and stays.
struct ComplaintsTaker {
  static google::protobuf::LogHandler*& Before() {
    static google::protobuf::LogHandler* before = nullptr;
    return before;
  }

  static void Take(google::protobuf::LogLevel level, const char* file, int line,
                   const std::string& text) {
    if (current == nullptr || level == google::protobuf::LOGLEVEL_FATAL) {
      if (Before() != nullptr) {
        Before()(level, file, line, text);
      }
    } else if (current->first_.empty()) {
      current->first_ = text.substr(0, text.find(". "));
    }
  }

  static void Set() {
    static const bool is_set = [] {
      Before() = google::protobuf::SetLogHandler(Take);
      return true;
    }();
    static_cast<void>(is_set);
  }
};

ProtobufComplaints::ProtobufComplaints() {
  ComplaintsTaker::Set();
  current = this;
}

ProtobufComplaints::~ProtobufComplaints() {
  current = nullptr;
}

}  // namespace ipc
