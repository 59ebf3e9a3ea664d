// cfm-app: the bridge between the ConfD agent and the CFM manager.
#include <google/protobuf/stubs/common.h>
#include <velmidware.h>

#include <cstdlib>
#include <memory>

#include "app/app.h"
#include "app/fault.h"
#include "cfm/client.h"
#include "status/status_receiver.h"

namespace {

// Fault tools tell the end of the loop by this line number.
constexpr int kLoopFaultLine = 25;

int RunLoop(velmw_t* middleware) {
  bool run = true;  // the middleware alone decides when to leave its loop
  if (velmw_loop_while(middleware, &run) == 0) {
    return EXIT_SUCCESS;
  }
  cfm::RaiseFault("main", __FILE_NAME__, kLoopFaultLine, "%s error in velmw loop",
                  cfm::kApplicationName);
  return EXIT_FAILURE;
}

}  // namespace

int main(int /*argc*/, char* /*argv*/[]) {
  velmw_t* middleware = velmw_init(cfm::kApplicationName);
  cfm::StatusReceiver receiver;
  auto client = std::make_unique<cfm::Client>(middleware, &receiver);
  auto app = std::make_unique<cfm::App>(middleware, cfm::kApplicationName, client.get(), &receiver);

  const int status = RunLoop(middleware);

  app.reset();
  client.reset();
  velmw_finish(&middleware);
  google::protobuf::ShutdownProtobufLibrary();
  return status;
}
