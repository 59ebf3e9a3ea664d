#include "requests.h"

namespace bench {

using cfm::agent::EditOperation;
using cfm::agent::Request;

namespace {

EditOperation& OnlyOperation(Request& request, EditOperation::Operation what,
                             const std::string& path) {
  request.mutable_edit()->set_target(cfm::agent::Edit::COMMIT);
  EditOperation& operation = *request.mutable_edit()->add_operations();
  operation.set_operation(what);
  operation.set_path(path);
  return operation;
}

}  // namespace

Request CommitDocument(const std::string& xml) {
  Request request;
  EditOperation& operation = OnlyOperation(request, EditOperation::MERGE, "");
  operation.set_document(xml);
  operation.set_format(cfm::agent::FORMAT_XML);
  return request;
}

Request CommitLeaf(const std::string& path, const std::string& value) {
  Request request;
  OnlyOperation(request, EditOperation::MERGE, path).set_value(value);
  return request;
}

Request CommitDeletion(const std::string& path) {
  Request request;
  OnlyOperation(request, EditOperation::DELETE, path);
  return request;
}

Request ReadStatus(const std::string& path) {
  Request request;
  cfm::agent::Get& get = *request.mutable_get();
  get.set_datastore(cfm::agent::DATASTORE_OPERATIONAL);
  get.set_format(cfm::agent::FORMAT_TREE);
  get.set_path(path);
  return request;
}

Request WatchStatus(const std::string& path) {
  Request request;
  request.mutable_watch_operational()->set_path(path);
  return request;
}

Request ClearStatistics() {
  Request request;
  request.mutable_invoke()->set_operation("clear-statistics");
  return request;
}

}  // namespace bench
