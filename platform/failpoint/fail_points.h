// The steps of the element's protocols at which a test may break a process:
// one table, so that a campaign can list them and a name that is not in it
// does not compile. Built into test builds only (CFM_FAIL_POINTS).
//
// The environment of a process says which of its points fails:
//
//   CFM_FAIL_POINT=NAME[:SKIP]:ACTION[,...]
//                                        at the pass after SKIP passes (0), once;
//                                        each of them at a point of its own
//     kill    the process ends by SIGKILL
//     stop    the process stands still (SIGSTOP) until it gets SIGCONT
//     error   of a transfer or a sync only: it fails, with ECONNRESET, ENOSPC
//             or EIO
//     short   of a transfer only: it transfers half of what it was given
//   CFM_FAIL_POINT_LOG=FILE              each point that the process passes for
//                                        the first time appends its name, and
//                                        each that is about to fail what was
//                                        asked of it (NAME[:SKIP]:ACTION); one
//                                        line with one write(2)
//
// A process with a CFM_FAIL_POINT that makes no sense says so and ends with
// status 2 at its first point.
#ifndef FAILPOINT_FAIL_POINTS_H
#define FAILPOINT_FAIL_POINTS_H

#include <array>
#include <cstddef>
#include <string_view>

namespace failpoint {

// The programs that have a point, as bits.
inline constexpr unsigned kAgentd = 1;
inline constexpr unsigned kApp = 2;
inline constexpr unsigned kManagerd = 4;

enum class Kind { kStep, kSocket, kDisk, kSync };

constexpr bool CanFail(Kind kind) {
  return kind != Kind::kStep;
}
constexpr bool CanBeShort(Kind kind) {
  return kind == Kind::kSocket || kind == Kind::kDisk;
}

// X(name, programs, kind, what the process is about to do, or has done)
#define CFM_FAIL_POINT_TABLE(X)                                                                    \
  X(channel_send, kAgentd | kApp | kManagerd, kSocket, "send queued frames")                       \
  X(channel_receive, kAgentd | kApp | kManagerd, kSocket, "receive what a peer sent")              \
  X(frame_send, kApp, kSocket, "send one frame and wait until it has left")                        \
  X(frame_receive, kApp, kSocket, "receive the bytes of one frame, waiting for them")              \
  X(disk_write, kAgentd, kDisk, "write to a file of the database")                                 \
  X(disk_sync, kAgentd, kSync, "sync a file of the database")                                      \
                                                                                                   \
  X(agent_hello_received, kAgentd, kStep, "a program has introduced itself")                       \
  X(agent_hello_answered, kAgentd, kStep, "its connection has a role")                             \
  X(agent_connection_lost, kAgentd, kStep, "a program has hung up")                                \
  X(agent_subscribing, kAgentd, kStep, "add a point to a subscriber")                              \
  X(agent_subscribed, kAgentd, kStep, "the subscriber knows its number")                           \
  X(agent_subscriber_ready, kAgentd, kStep, "a subscriber gets notifications from now on")         \
  X(agent_subscriber_lost, kAgentd, kStep, "a subscriber has hung up")                             \
  X(agent_subscriber_given_up, kAgentd, kStep, "hang up on subscribers that do not answer")        \
  X(agent_session_opening, kAgentd, kStep, "open a session on the running datastore")              \
  X(agent_session_opened, kAgentd, kStep, "the session has its snapshot and its lock")             \
  X(agent_session_waiting, kAgentd, kStep, "the session waits until a commit is over")             \
  X(agent_operational_session_opened, kAgentd, kStep,                                              \
    "a session on the operational datastore is open")                                              \
  X(agent_fetching, kAgentd, kStep, "read for a session")                                          \
  X(agent_fetched, kAgentd, kStep, "what was read is queued or sent")                              \
  X(agent_txid_told, kAgentd, kStep, "the id of the commit that is running is sent")               \
  X(agent_session_ending, kAgentd, kStep, "end a session and let its lock go")                     \
  X(agent_locks_granting, kAgentd, kStep, "open the sessions that waited for a commit")            \
  X(agent_commit_received, kAgentd, kStep, "a front end asks for a commit")                        \
  X(agent_commit_refused, kAgentd, kStep, "the edits or the outcome are invalid")                  \
  X(agent_commit_edited, kAgentd, kStep, "the edits are applied to a copy")                        \
  X(agent_commit_validated, kAgentd, kStep, "the copy is valid and compared")                      \
  X(agent_commit_waiting, kAgentd, kStep, "the commit waits until nobody holds a lock")            \
  X(agent_lock_given_up, kAgentd, kStep, "take a lock away from a program that stands still")      \
  X(agent_commit_storing, kAgentd, kStep, "begin the transaction of the database")                 \
  X(agent_commit_written, kAgentd, kStep, "all rows are written, and not committed")               \
  X(agent_commit_stored, kAgentd, kStep, "the transaction is on disk")                             \
  X(agent_commit_failed, kAgentd, kStep, "the store has refused it")                               \
  X(agent_commit_rolling_back, kAgentd, kStep, "end the transaction that the disk refused")        \
  X(agent_commit_rolled_back, kAgentd, kStep, "the transaction is ended")                          \
  X(agent_commit_burying, kAgentd, kStep, "write over a transaction that could not be synced")     \
  X(agent_commit_buried, kAgentd, kStep, "the transaction is written over")                        \
  X(agent_running_taken, kAgentd, kStep, "nobody reads: the running tree itself is changed")       \
  X(agent_running_copied, kAgentd, kStep, "a session reads: a copy is changed")                    \
  X(agent_commit_merged, kAgentd, kStep, "what was edited stands in the tree")                     \
  X(agent_commit_published, kAgentd, kStep, "readers see the new configuration")                   \
  X(agent_notification_sending, kAgentd, kStep, "notify one subscriber")                           \
  X(agent_notification_sent, kAgentd, kStep, "the notification is queued or sent")                 \
  X(agent_commit_synced, kAgentd, kStep, "a subscriber has dealt with the change")                 \
  X(agent_commit_announced, kAgentd, kStep, "all subscribers have")                                \
  X(agent_commit_replying, kAgentd, kStep, "answer the front end")                                 \
  X(agent_commit_replied, kAgentd, kStep, "the answer is queued or sent")                          \
  X(agent_candidate_editing, kAgentd, kStep, "edit the candidate")                                 \
  X(agent_candidate_edited, kAgentd, kStep, "the candidate holds the edits")                       \
  X(agent_candidate_committing, kAgentd, kStep, "the candidate stands still for its commit")       \
  X(agent_candidate_committed, kAgentd, kStep, "the candidate's commit is over")                   \
  X(agent_candidate_discarding, kAgentd, kStep, "drop the candidate")                              \
  X(agent_request_received, kAgentd, kStep, "a front end asks for something")                      \
  X(agent_read_received, kAgentd, kStep, "a front end asks for status")                            \
  X(agent_read_restarting, kAgentd, kStep, "begin a read anew that a commit has overtaken")        \
  X(agent_action_received, kAgentd, kStep, "a front end wants an action")                          \
  X(agent_task_answering, kAgentd, kStep, "answer a read or an action")                            \
  X(agent_task_answered, kAgentd, kStep, "the answer is queued or sent")                           \
  X(agent_changes_telling, kAgentd, kStep, "tell a watcher of changes of status")                  \
  X(agent_creating, kAgentd, kStep, "create an operational entry")                                 \
  X(agent_created, kAgentd, kStep, "it exists")                                                    \
  X(agent_write_answered, kAgentd, kStep, "the writer of an entry or a leaf is told")              \
  X(agent_setting, kAgentd, kStep, "set an operational leaf")                                      \
  X(agent_set, kAgentd, kStep, "it is set")                                                        \
  X(agent_deleting, kAgentd, kStep, "delete an operational entry")                                 \
  X(agent_deleted, kAgentd, kStep, "it is gone, requests about it are not yet withdrawn")          \
  X(agent_withdrawn, kAgentd, kStep, "they are, and the deleter does not know")                    \
  X(agent_writers_held, kAgentd, kStep, "other writers wait until the deleter has finished")       \
  X(agent_delete_answered, kAgentd, kStep, "the deleter is told")                                  \
  X(agent_writer_waiting, kAgentd, kStep, "a writer waits for another one")                        \
  X(agent_writer_resumed, kAgentd, kStep, "it goes on")                                            \
  X(agent_writers_given_up, kAgentd, kStep, "take the writers from one that stands still")         \
  X(agent_deferred_received, kAgentd, kStep, "writes have come in one message")                    \
  X(agent_deferred_written, kAgentd, kStep, "one of them is done")                                 \
  X(agent_deferred_answered, kAgentd, kStep, "all are, and the writer is told")                    \
  X(agent_request_withdrawn, kAgentd, kStep,                                                       \
    "a question about a deleted entry needs no answer any more")                                   \
  X(agent_provider_connected, kAgentd, kStep, "a data provider has its number")                    \
  X(agent_provider_attached, kAgentd, kStep, "its worker connection is there")                     \
  X(agent_provider_registering, kAgentd, kStep, "take its callpoints")                             \
  X(agent_provider_registered, kAgentd, kStep, "reads go to it from now on")                       \
  X(agent_transaction_beginning, kAgentd, kStep, "open a read transaction with a provider")        \
  X(agent_transaction_ending, kAgentd, kStep, "end a read transaction")                            \
  X(agent_asking, kAgentd, kStep, "send a request to a provider")                                  \
  X(agent_asked, kAgentd, kStep, "it is sent; commits wait")                                       \
  X(agent_batch_asking, kAgentd, kStep, "send questions of a read to a provider")                  \
  X(agent_batch_asked, kAgentd, kStep, "they are sent; commits wait")                              \
  X(agent_batch_answer_received, kAgentd, kStep, "a provider has answered some of them")           \
  X(agent_batch_answer_taken, kAgentd, kStep, "one of these answers has gone to its read")         \
  X(agent_question_returned, kAgentd, kStep, "a question has come back and has to be asked again") \
  X(agent_answer_received, kAgentd, kStep, "a provider has answered")                              \
  X(agent_delay_received, kAgentd, kStep, "a provider will answer later; commits go on")           \
  X(agent_late_answer_received, kAgentd, kStep, "it has answered later")                           \
  X(agent_late_answer_given_up, kAgentd, kStep, "it has not for too long")                         \
  X(agent_provider_given_up, kAgentd, kStep, "a provider does not answer at all")                  \
  X(agent_provider_losing, kAgentd, kStep, "end what waits for a provider that is gone")           \
  X(agent_provider_lost, kAgentd, kStep, "that is ended")                                          \
                                                                                                   \
  X(confd_connecting, kApp, kStep, "connect a socket to the agent")                                \
  X(confd_connected, kApp, kStep, "it is connected, and nothing said")                             \
  X(confd_hello_sent, kApp, kStep, "introduced, and not answered")                                 \
  X(confd_hello_answered, kApp, kStep, "the agent took the connection")                            \
  X(confd_call_sent, kApp, kStep, "a request that is answered has left")                           \
  X(confd_call_answered, kApp, kStep, "its answer is read")                                        \
  X(confd_subscribing, kApp, kStep, "subscribe to a point")                                        \
  X(confd_subscribed, kApp, kStep, "the point is subscribed to")                                   \
  X(confd_subscribe_done, kApp, kStep, "notifications come from now on")                           \
  X(confd_session_starting, kApp, kStep, "start a session")                                        \
  X(confd_session_started, kApp, kStep, "it is open")                                              \
  X(confd_session_given, kApp, kStep, "a session reads what came with the questions")              \
  X(confd_late_session_starting, kApp, kStep,                                                      \
    "start it at the agent, for what did not come with them")                                      \
  X(confd_late_session_started, kApp, kStep, "its start is sent")                                  \
  X(confd_fetching, kApp, kStep, "read the configuration")                                         \
  X(confd_fetched, kApp, kStep, "it is read")                                                      \
  X(confd_txid_asking, kApp, kStep, "ask for the id of the commit that is running")                \
  X(confd_session_ending, kApp, kStep, "end a session")                                            \
  X(confd_session_ended, kApp, kStep, "its end is sent")                                           \
  X(confd_registering, kApp, kStep, "register callpoints and action points")                       \
  X(confd_registered, kApp, kStep, "requests come from now on")                                    \
  X(confd_notified, kApp, kStep, "a notification is read")                                         \
  X(confd_iterating, kApp, kStep, "walk one point's part of it")                                   \
  X(confd_iterated, kApp, kStep, "that part is walked")                                            \
  X(confd_syncing, kApp, kStep, "acknowledge it")                                                  \
  X(confd_synced, kApp, kStep, "the acknowledgement is sent")                                      \
  X(confd_writing, kApp, kStep, "write operational data")                                          \
  X(confd_written, kApp, kStep, "the write is answered")                                           \
  X(confd_write_deferred, kApp, kStep, "a write waits to leave with others")                       \
  X(confd_deferred_sending, kApp, kStep, "send them")                                              \
  X(confd_deferred_sent, kApp, kStep, "they have left and need no answer")                         \
  X(confd_deferred_answered, kApp, kStep, "they are answered")                                     \
  X(confd_withdrawing, kApp, kStep, "drop a question about what was deleted")                      \
  X(confd_request_received, kApp, kStep, "a request to the provider is read")                      \
  X(confd_batch_received, kApp, kStep, "questions of a read have come")                            \
  X(confd_question_worked, kApp, kStep, "the program has dealt with one of them")                  \
  X(confd_question_returning, kApp, kStep, "send one back behind an answer that comes later")      \
  X(confd_walk_stepped, kApp, kStep, "a step of a walk through a leaf-list is answered")           \
  X(confd_batch_worked, kApp, kStep, "all questions are dealt with")                               \
  X(confd_batch_answering, kApp, kStep, "send the answers to them")                                \
  X(confd_batch_answered, kApp, kStep, "they are sent")                                            \
  X(confd_request_skipped, kApp, kStep, "it was withdrawn, and is not looked at")                  \
  X(confd_transaction_opened, kApp, kStep, "a read transaction has begun, unanswered")             \
  X(confd_transaction_open_answered, kApp, kStep, "that is answered")                              \
  X(confd_transaction_closed, kApp, kStep, "a read transaction is over, unanswered")               \
  X(confd_callback_calling, kApp, kStep, "have the program answer a read")                         \
  X(confd_callback_returned, kApp, kStep, "the program's callback is over")                        \
  X(confd_action_calling, kApp, kStep, "have the program perform an action")                       \
  X(confd_action_returned, kApp, kStep, "it is performed, the agent not told")                     \
  X(confd_action_answered, kApp, kStep, "the agent is told")                                       \
  X(confd_replying, kApp, kStep, "answer a read")                                                  \
  X(confd_replied, kApp, kStep, "it is answered")                                                  \
  X(confd_delaying, kApp, kStep, "say that the answer comes later")                                \
  X(confd_delayed, kApp, kStep, "that is said")                                                    \
  X(confd_answer_too_late, kApp, kStep, "a later answer that the agent does not wait for")         \
                                                                                                   \
  X(velconfd_connecting, kApp, kStep, "look for the agent")                                        \
  X(velconfd_connected, kApp, kStep, "the agent is there, locked for the load")                    \
  X(velconfd_absent, kApp, kStep, "nobody answers there")                                          \
  X(velconfd_subscribed, kApp, kStep, "its commits will be told of")                               \
  X(velconfd_handlers_told, kApp, kStep, "the handlers know that the agent is there")              \
  X(velconfd_loading, kApp, kStep, "have the handlers load the configuration")                     \
  X(velconfd_loaded, kApp, kStep, "the mirror stands")                                             \
  X(velconfd_initial_applying, kApp, kStep, "apply what was loaded")                               \
  X(velconfd_initial_applied, kApp, kStep, "it is handed on")                                      \
  X(velconfd_answering, kApp, kStep, "the agent knows who answers reads and actions")              \
  X(velconfd_serving, kApp, kStep, "commits, reads and actions are served")                        \
  X(velconfd_lost, kApp, kStep, "the agent is gone")                                               \
  X(velconfd_session_lost, kApp, kStep, "only the connection of a session is gone")                \
  X(velconfd_loss_told, kApp, kStep, "the handlers know")                                          \
  X(velconfd_closed, kApp, kStep, "all connections to it are closed")                              \
  X(velconfd_reconnected, kApp, kStep, "it is back at the commit that was applied last")           \
  X(velconfd_moved_on, kApp, kStep, "it is back at another one: the program will end")             \
  X(velconfd_ending, kApp, kStep, "end the loop")                                                  \
  X(velconfd_gathered, kApp, kStep, "the whole difference is read, nobody called yet")             \
  X(velconfd_commit_started, kApp, kStep, "the handlers know that a commit begins")                \
  X(velconfd_commit_delivered, kApp, kStep, "they have followed it")                               \
  X(velconfd_commit_applied, kApp, kStep, "they have handed it on, the agent not told")            \
  X(velconfd_commit_acknowledged, kApp, kStep, "the agent is told")                                \
                                                                                                   \
  X(client_connecting, kApp, kStep, "look for the manager")                                        \
  X(client_hello_sent, kApp, kStep, "introduced to the manager")                                   \
  X(client_welcomed, kApp, kStep, "the manager took the connection")                               \
  X(client_configuration_put, kApp, kStep, "take a new hierarchy")                                 \
  X(client_configuration_sending, kApp, kStep, "send the hierarchy")                               \
  X(client_configuration_sent, kApp, kStep, "it is queued or sent")                                \
  X(client_configuration_applied, kApp, kStep, "the manager has applied it")                       \
  X(client_status_received, kApp, kStep, "the manager sent a record")                              \
  X(client_status_delivering, kApp, kStep, "have it published")                                    \
  X(client_status_delivered, kApp, kStep, "it is published")                                       \
  X(client_removal_received, kApp, kStep, "the manager said that a record is void")                \
  X(client_removal_delivering, kApp, kStep, "have it taken away")                                  \
  X(client_removal_delivered, kApp, kStep, "it is taken away")                                     \
  X(client_statistics_requesting, kApp, kStep, "ask for counters")                                 \
  X(client_statistics_requested, kApp, kStep, "the request is queued or sent")                     \
  X(client_statistics_received, kApp, kStep, "counters of a MEP have come")                        \
  X(client_zeros_telling, kApp, kStep, "tell of counters that were cleared meanwhile")             \
  X(client_statistics_finishing, kApp, kStep, "have the waiting reads answered")                   \
  X(client_statistics_finished, kApp, kStep, "they are")                                           \
  X(client_clearing, kApp, kStep, "have counters cleared")                                         \
  X(client_cleared, kApp, kStep, "the request is queued or sent")                                  \
  X(client_invalidating, kApp, kStep, "report all status void")                                    \
  X(client_invalidated, kApp, kStep, "that is done")                                               \
  X(client_manager_lost, kApp, kStep, "the manager is gone")                                       \
  X(client_agent_lost, kApp, kStep, "the agent is gone: no status can be published")               \
  X(client_resend_requested, kApp, kStep, "the manager is to send all status again")               \
  X(client_resend_started, kApp, kStep, "from here on status is news")                             \
                                                                                                   \
  X(manager_accepted, kManagerd, kStep, "a program has connected")                                 \
  X(manager_hello_received, kManagerd, kStep, "a program has introduced itself")                   \
  X(manager_hello_answered, kManagerd, kStep, "it knows that it may stay")                         \
  X(manager_taken_over, kManagerd, kStep, "it configures from now on")                             \
  X(manager_configurer_lost, kManagerd, kStep, "the configurer has hung up")                       \
  X(manager_observer_shown, kManagerd, kStep, "an observer has seen what is in force")             \
  X(manager_configuration_received, kManagerd, kStep, "a hierarchy has come")                      \
  X(manager_configuration_kept, kManagerd, kStep, "it is kept, and not applied")                   \
  X(manager_configuration_applied, kManagerd, kStep, "the engine follows it")                      \
  X(manager_applied_sent, kManagerd, kStep, "the configurer is told")                              \
  X(manager_configuration_shown, kManagerd, kStep, "observers are told, status is not")            \
  X(manager_status_beginning, kManagerd, kStep, "tell all status for the first time")              \
  X(manager_status_begun, kManagerd, kStep, "that is queued or sent")                              \
  X(manager_status_sending, kManagerd, kStep, "tell of a record, or of its end")                   \
  X(manager_status_sent, kManagerd, kStep, "that is queued or sent")                               \
  X(manager_removal_sending, kManagerd, kStep, "tell that a record is void")                       \
  X(manager_removal_sent, kManagerd, kStep, "that is queued or sent")                              \
  X(manager_statistics_received, kManagerd, kStep, "counters are asked for")                       \
  X(manager_statistics_counted, kManagerd, kStep, "some counters are sent, the end is not")        \
  X(manager_statistics_sent, kManagerd, kStep, "the answer is complete")                           \
  X(manager_clearing, kManagerd, kStep, "clear counters")                                          \
  X(manager_cleared, kManagerd, kStep, "they are zero")                                            \
  X(manager_resending, kManagerd, kStep, "all status is asked for again")                          \
  X(manager_resent, kManagerd, kStep, "it is sent again")

enum class Point : std::size_t {
#define CFM_FAIL_POINT_NAME(name, programs, kind, what) name,
  CFM_FAIL_POINT_TABLE(CFM_FAIL_POINT_NAME)
#undef CFM_FAIL_POINT_NAME
};

struct Entry {
  std::string_view name;
  unsigned programs;
  Kind kind;
  std::string_view what;
};

// In the order of Point.
inline constexpr std::array kAll{
#define CFM_FAIL_POINT_ENTRY(name, programs, kind, what) Entry{#name, programs, Kind::kind, what},
    CFM_FAIL_POINT_TABLE(CFM_FAIL_POINT_ENTRY)
#undef CFM_FAIL_POINT_ENTRY
};

}  // namespace failpoint

#endif
