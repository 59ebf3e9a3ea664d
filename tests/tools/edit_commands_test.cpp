// load, set, delete, edit, validate, commit, discard, diff.
#include <future>

#include "command_fixture.h"
#include "fakes.h"

namespace cfmctl {
namespace {

namespace agent = cfm::agent;
using agent::EditOperation;
using testing::HasSubstr;

class EditCommands : public test::CommandTest {
 protected:
  EditCommands() { agent_.SetStatus(test::StatusOf(12)); }

  // The agent says yes, with this transaction.
  void AcceptAs(std::uint64_t txid) {
    agent_.on_request = [txid](const agent::Request&) {
      agent::Reply reply;
      reply.set_txid(txid);
      return reply;
    };
  }

  void RefuseWith(const agent::Error& error) {
    agent_.on_request = [error](const agent::Request&) {
      agent::Reply reply;
      *reply.add_errors() = error;
      return reply;
    };
  }

  const agent::Edit& TheEdit() {
    requests_ = agent_.Requests();
    EXPECT_EQ(requests_.size(), 1U);
    return requests_.at(0).edit();
  }

  test::FakeAgent agent_{Directory()};
  std::vector<agent::Request> requests_;
};

TEST_F(EditCommands, LoadMergesADocumentAndCommitsIt) {
  AcceptAs(13);
  const auto outcome = Run({"load", WriteFile("a.xml", "<config/>")});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "committed: transaction 13\n");
  const agent::Edit& edit = TheEdit();
  EXPECT_EQ(edit.target(), agent::Edit::COMMIT);
  ASSERT_EQ(edit.operations_size(), 1);
  EXPECT_EQ(edit.operations(0).operation(), EditOperation::MERGE);
  EXPECT_EQ(edit.operations(0).format(), agent::FORMAT_XML);
  EXPECT_EQ(edit.operations(0).document(), "<config/>");
  EXPECT_EQ(edit.operations(0).path(), "");
}

TEST_F(EditCommands, LoadReplacesFromStandardInputIntoTheCandidate) {
  const auto outcome = Run({"load", "-", "--replace", "--candidate"}, " {}");
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("the candidate is changed"));
  const agent::Edit& edit = TheEdit();
  EXPECT_EQ(edit.target(), agent::Edit::CANDIDATE);
  EXPECT_EQ(edit.operations(0).operation(), EditOperation::REPLACE);
  EXPECT_EQ(edit.operations(0).format(), agent::FORMAT_JSON);
  EXPECT_EQ(edit.operations(0).document(), " {}");
}

TEST_F(EditCommands, LoadAsksForTheFormatThatItCannotGuess) {
  const std::string file = WriteFile("a.txt", "hello");
  const auto outcome = Run({"load", file});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr(file + " is neither XML nor JSON"));
  EXPECT_EQ(Run({"load", file, "--format", "json"}).status, 0);
  EXPECT_EQ(TheEdit().operations(0).format(), agent::FORMAT_JSON);
}

TEST_F(EditCommands, AFileThatCannotBeReadIsABadInputFile) {
  const auto missing = Run({"load", "/nonexistent/a.xml"});
  EXPECT_EQ(missing.status, 2);
  EXPECT_EQ(missing.err, "cfmctl: cannot open /nonexistent/a.xml: No such file or directory\n");
  EXPECT_EQ(Run({"load", Directory()}).status, 2);
}

TEST_F(EditCommands, MergeAndReplaceExcludeEachOther) {
  EXPECT_EQ(Run({"load", "-", "--merge", "--replace"}, "{}").status, 2);
  EXPECT_TRUE(agent_.Requests().empty());
}

TEST_F(EditCommands, ARefusalNamesPlaceCauseAndRule) {
  agent::Error error;
  error.set_path("/config/oam/cfm/md[id='east']");
  error.set_message("mandatory leaf \"level\" is missing");
  error.set_rule("mandatory");
  RefuseWith(error);
  const auto outcome = Run({"set", "md{east}"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err,
            "cfmctl: the commit was refused, nothing was changed\n"
            "  /config/oam/cfm/md[id='east']: mandatory leaf \"level\" is missing (rule: "
            "mandatory)\n");
}

TEST_F(EditCommands, WarningsGoToStandardErrorAndAreNoFailure) {
  agent_.on_request = [](const agent::Request&) {
    agent::Reply reply;
    reply.add_warnings("the subscriber cfm-app died");
    reply.set_txid(14);
    return reply;
  };
  const auto outcome = Run({"delete", "md{east}"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "committed: transaction 14\n");
  EXPECT_EQ(outcome.err, "cfmctl: warning: the subscriber cfm-app died\n");
}

TEST_F(EditCommands, SetSendsAllInOneCommit) {
  const auto outcome = Run({"set", "md{o'neill}/level", "3", "md{o'neill}/ma{b}/vlan-list", "1,2"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const agent::Edit& edit = TheEdit();
  ASSERT_EQ(edit.operations_size(), 3);
  EXPECT_EQ(edit.operations(0).operation(), EditOperation::MERGE);
  EXPECT_EQ(edit.operations(0).path(), "/config/oam/cfm/md[id=\"o'neill\"]/level");
  EXPECT_EQ(edit.operations(0).value(), "3");
  EXPECT_EQ(edit.operations(2).path(), "/config/oam/cfm/md[id=\"o'neill\"]/ma[id='b']/vlan-list");
  EXPECT_EQ(edit.operations(2).value(), "2");
}

TEST_F(EditCommands, EditKeepsTheOrderOfItsOperationsWhereverTheOptionsStand) {
  const auto outcome =
      Run({"edit", "delete", "md{a}", "--candidate", "create", "md{b}", "--remove", "md{c}"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const agent::Edit& edit = TheEdit();
  EXPECT_EQ(edit.target(), agent::Edit::CANDIDATE);
  ASSERT_EQ(edit.operations_size(), 3);
  EXPECT_EQ(edit.operations(0).operation(), EditOperation::DELETE);
  EXPECT_FALSE(edit.operations(0).has_value());
  EXPECT_EQ(edit.operations(1).operation(), EditOperation::CREATE);
  EXPECT_EQ(edit.operations(2).operation(), EditOperation::REMOVE);
  EXPECT_EQ(edit.operations(2).path(), "/config/oam/cfm/md[id='c']");
}

TEST_F(EditCommands, EditReadsOperationsFromAFile) {
  const std::string file = WriteFile("ops",
                                     "# first this\n"
                                     "delete 'md{my domain}'\n"
                                     "\n"
                                     "merge md{b}/level 3   # then this\n");
  const auto outcome = Run({"edit", "--file", file});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const agent::Edit& edit = TheEdit();
  ASSERT_EQ(edit.operations_size(), 2);
  EXPECT_EQ(edit.operations(0).path(), "/config/oam/cfm/md[id='my domain']");
  EXPECT_EQ(edit.operations(1).value(), "3");
}

TEST_F(EditCommands, AMistakeInAFileOfOperationsIsNamedWithItsLine) {
  const std::string file = WriteFile("ops", "delete md{a}\nmerge md{b}/level\n");
  const auto outcome = Run({"edit", "--file", file});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr(file + ":2: path \"md{b}/level\": the value of level"));
  EXPECT_THAT(Run({"edit", "--file", "-"}, "delete 'md{a}\n").err,
              HasSubstr("standard input:1: a ' is not closed"));
  EXPECT_TRUE(agent_.Requests().empty());
}

TEST_F(EditCommands, NothingToDoIsWrongUsage) {
  EXPECT_EQ(Run({"set"}).status, 2);
  EXPECT_EQ(Run({"edit"}).status, 2);
  EXPECT_EQ(Run({"delete"}).status, 2);
  EXPECT_EQ(Run({"edit", "--file", "-"}, "").status, 2);
  EXPECT_EQ(Run({"set", "mdx", "3"}).status, 2);
  EXPECT_TRUE(agent_.Requests().empty());
}

TEST_F(EditCommands, ValidateOfAFileChangesNothing) {
  const auto outcome = Run({"validate", WriteFile("a.json", "{}"), "--replace"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "valid; nothing was changed\n");
  EXPECT_EQ(TheEdit().target(), agent::Edit::TEST_ONLY);
  EXPECT_EQ(TheEdit().operations(0).operation(), EditOperation::REPLACE);
}

TEST_F(EditCommands, ValidateWithoutAFileIsOfTheCandidate) {
  EXPECT_EQ(Run({"validate"}).out, "the candidate is valid\n");
  EXPECT_TRUE(agent_.Requests().at(0).has_validate_candidate());
  agent::Error error;
  error.set_message("too many MEPs");
  RefuseWith(error);
  const auto refused = Run({"validate"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err, "cfmctl: the candidate is not valid\n  too many MEPs\n");
}

TEST_F(EditCommands, CommitAndDiscardAreOfTheCandidate) {
  AcceptAs(15);
  EXPECT_EQ(Run({"commit"}).out, "committed: transaction 15\n");
  EXPECT_TRUE(agent_.Requests().at(0).has_commit_candidate());
  EXPECT_EQ(Run({"discard"}).out, "the candidate is discarded\n");
  EXPECT_TRUE(agent_.Requests().at(1).has_discard_candidate());
}

TEST_F(EditCommands, DiffIsOneLinePerNode) {
  EXPECT_EQ(Run({"diff"}).out, "the candidate changes nothing\n");
  agent_.on_request = [](const agent::Request&) {
    agent::Reply reply;
    const auto add = [&](agent::DiffLine::Kind kind, const char* path, const char* before,
                         const char* after) {
      agent::DiffLine* const line = reply.add_diff();
      line->set_kind(kind);
      line->set_path(path);
      line->set_old_value(before);
      line->set_new_value(after);
    };
    add(agent::DiffLine::ADDED, "/a", "", "");
    add(agent::DiffLine::REMOVED, "/b", "1", "");
    add(agent::DiffLine::CHANGED, "/c", "1", "2");
    return reply;
  };
  EXPECT_EQ(Run({"diff"}).out, "+ /a\n- /b 1\n~ /c 1 -> 2\n");
}

TEST_F(EditCommands, AnAgentThatDiesInACommitLeavesItsOutcomeUnknown) {
  agent_.on_request = [](const agent::Request&) { return std::nullopt; };
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"set", "md{east}/level", "3"}, {"commit"}}) {
    const auto outcome = Run(words);
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, HasSubstr("the agent went away before it answered: whether the commit "
                                       "took place is unknown\n"));
    EXPECT_THAT(outcome.err, HasSubstr("the transaction before it was 12"));
    EXPECT_THAT(outcome.err, HasSubstr("\"cfmctl status\""));
  }
}

TEST_F(EditCommands, AnAgentThatDiesInARequestThatChangesNothingIsNotReachable) {
  agent_.on_request = [](const agent::Request&) { return std::nullopt; };
  const auto outcome = Run({"set", "--candidate", "md{east}/level", "3"});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.err, "cfmctl: the agent went away before it answered\n");
}

TEST_F(EditCommands, ACommitWithoutAnswerTimesOutWithUnknownOutcome) {
  std::promise<void> answered;
  agent_.on_request = [&](const agent::Request&) {
    answered.get_future().wait();
    return agent::Reply();
  };
  const auto outcome = Run({"--timeout", "0.05", "set", "md{east}/level", "3"});
  answered.set_value();
  EXPECT_EQ(outcome.status, 4);
  EXPECT_THAT(outcome.err, HasSubstr("the agent did not answer within 0.05 s: whether the commit "
                                     "took place is unknown"));
}

}  // namespace
}  // namespace cfmctl
