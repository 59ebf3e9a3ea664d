#include "confd_client/reader.h"

#include <limits>

#include "confd_client/given_configuration.h"
#include "confd_client/late_session.h"
#include "confd_client/names.h"
#include "confd_client/path_message.h"
#include "fail_point.h"

namespace confd {
namespace {

using Asked = ReadCache::Asked;
using Verdict = Finding::Verdict;
using Question = Finding (ReadCache::*)(const Path&, Asked);

void Fetch(Connection& connection, const Path& path) {
  BeginAtAgent(connection);
  cfm::agent::Request request;
  *request.mutable_fetch()->mutable_path() = PathMessage(path);
  CFM_FAIL_POINT(confd_fetching);
  // Thousands of small messages: taken one by one they cost more than the
  // transport.
  const auto arena = std::make_shared<google::protobuf::Arena>();
  const cfm::agent::Reply& reply = connection.link.Transact(request, *arena);
  CFM_FAIL_POINT(confd_fetched);
  if (!reply.has_data()) {
    connection.session->cache->AddAbsence(path.front().name);
    return;
  }
  if (reply.data().name() != path.front().name) {
    throw ipc::ProtocolError("data of " + reply.data().name());
  }
  connection.session->cache->Add({arena, &reply.data()});
}

[[noreturn]] void ThrowBadPath(const std::string& cause) {
  throw ApiError(CONFD_ERR_BADPATH, cause);
}

// The verdicts that are the path's own fault.
void CheckPathFits(const Finding& finding, const Path& path) {
  const std::string& name = path[finding.step].name;
  if (finding.verdict == Verdict::kNotAList) {
    ThrowBadPath("'" + name + "' is not a list");
  }
  if (finding.verdict == Verdict::kNeedsEntry) {
    ThrowBadPath("'" + name + "' is a list and needs a key or a position");
  }
}

// Whether only the agent can tell: where nothing is known, and where a node is
// not there whose name no model seems to have.
bool HasToAskAgent(const Finding& finding, const Path& path) {
  return finding.verdict == Verdict::kUnknown ||
         (finding.verdict == Verdict::kAbsent && !SchemaNames().Empty() &&
          SchemaNames().TagOf(path[finding.step].name) == 0);
}

// kFound or kAbsent; everything else is thrown.
Finding Ask(Connection& connection, const Path& path, Question question) {
  if (!connection.session) {
    throw ApiError(CONFD_ERR_NOSESSION,
                   "no session is open on this socket: call cdb_start_session first");
  }
  Session& session = *connection.session;
  if (session.database != CDB_RUNNING) {
    session.deferred.Send(connection.link);
    *session.cache = ReadCache();  // it changes under the session
  }
  ReadCache& cache = *session.cache;
  GivenConfiguration::NoteRead(cache);
  Finding finding = (cache.*question)(path, Asked::kNotYet);
  if (HasToAskAgent(finding, path)) {
    Fetch(connection, path);
    finding = (cache.*question)(path, Asked::kFetched);
  }
  if (finding.verdict == Verdict::kUnknown) {
    throw ipc::ProtocolError("its data leaves open what was asked for");
  }
  CheckPathFits(finding, path);
  return finding;
}

// Null when the node does not exist.
const cfm::agent::DataNode* FindData(Connection& connection, const Path& path) {
  return Ask(connection, path, &ReadCache::Find).data;
}

// Whether a node that the agent sent has no instance all the same: a leaf-list
// without elements.
bool IsWithoutInstance(const cfm::agent::DataNode& data) {
  return data.has_value() && (data.value().type() == C_NOEXISTS ||
                              (data.value().type() == C_LIST && data.value().list().empty()));
}

}  // namespace

const cfm::agent::Value* FindValue(Connection& connection, const Path& path) {
  const cfm::agent::DataNode* data = FindData(connection, path);
  if (data == nullptr || IsWithoutInstance(*data)) {
    return nullptr;
  }
  if (!data->has_value()) {
    throw ApiError(CONFD_ERR_BADTYPE, "the node is no leaf");
  }
  return &data->value();
}

int CountEntries(Connection& connection, const Path& path) {
  if (path.back().PicksEntry()) {
    ThrowBadPath("'" + path.back().name + "' is to be counted and takes no key or position here");
  }
  const Finding finding = Ask(connection, path, &ReadCache::Count);
  // Without the container around it a list is empty; without the list entry
  // around it there is no list.
  if (finding.verdict == Verdict::kAbsent && path[finding.step].PicksEntry()) {
    throw ApiError(CONFD_ERR_NOEXISTS, "no such list entry exists");
  }
  if (finding.entries > static_cast<std::uint32_t>(std::numeric_limits<int>::max())) {
    throw ipc::ProtocolError("a list of " + std::to_string(finding.entries) + " entries");
  }
  return static_cast<int>(finding.entries);
}

bool Exists(Connection& connection, const Path& path) {
  const cfm::agent::DataNode* data = FindData(connection, path);
  return data != nullptr && !IsWithoutInstance(*data);
}

}  // namespace confd
