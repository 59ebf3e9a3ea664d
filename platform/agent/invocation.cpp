#include "invocation.h"

#include <set>

#include "typed_value.h"
#include "values.h"

namespace agentd {
namespace {

using cfm::agent::Invoke;
using cfm::agent::PerformAction;

// A parameter of the input; null when there is none of that name.
const lysc_node* InputNamed(const Operation& operation, const std::string& name) {
  for (const lysc_node* node = operation.schema->input.child; node != nullptr; node = node->next) {
    if (name == node->name && (node->nodetype & LYD_NODE_TERM) != 0) {
      return node;
    }
  }
  return nullptr;
}

std::string InputNames(const Operation& operation) {
  std::string names;
  for (const lysc_node* node = operation.schema->input.child; node != nullptr; node = node->next) {
    names += (names.empty() ? "" : ", ") + NameOf(*node);
  }
  return names.empty() ? "none" : names;
}

Problems CheckMandatory(const Operation& operation, const std::string& path,
                        const std::set<const lysc_node*>& given) {
  Problems problems;
  for (const lysc_node* node = operation.schema->input.child; node != nullptr; node = node->next) {
    if ((node->flags & LYS_MAND_TRUE) != 0 && !given.contains(node)) {
      problems.push_back({.message = "the parameter '" + NameOf(*node) + "' is missing",
                          .path = path + "/" + NameOf(*node),
                          .rule = "mandatory"});
    }
  }
  return problems;
}

}  // namespace

Result<PerformAction> MakeAction(const Model& model, const ProviderModel& providers,
                                 const Invoke& invoke) {
  const Operation* operation = providers.FindOperation(invoke.operation());
  const std::string path = "/" + invoke.operation();
  if (operation == nullptr) {
    return Problem{.message = "the model has no operation '" + invoke.operation() + "'",
                   .path = path};
  }
  if (operation->actionpoint.empty()) {
    return Problem{.message = "no action point performs '" + invoke.operation() + "'",
                   .path = path};
  }
  PerformAction action;
  action.set_actionpoint(operation->actionpoint);
  action.set_name(model.TagOf(operation->schema->node));
  std::set<const lysc_node*> given;
  for (const Invoke::Parameter& parameter : invoke.parameters()) {
    const std::string where = path + "/" + parameter.name();
    const lysc_node* node = InputNamed(*operation, parameter.name());
    if (node == nullptr) {
      return Problem{.message = "'" + invoke.operation() + "' has no parameter '" +
                                parameter.name() + "'; it has: " + InputNames(*operation),
                     .path = where};
    }
    if (!given.insert(node).second && node->nodetype != LYS_LEAFLIST) {
      return Problem{.message = "the parameter '" + parameter.name() + "' is given twice",
                     .path = where};
    }
    const auto text = Canonical(model, *node, parameter.value(), where);
    if (!text) {
      return text.Why();
    }
    auto& value = *action.add_parameters();
    value.set_tag(model.TagOf(*node));
    value.set_ns(model.NamespaceOf(*node));
    *value.mutable_value() = ValueOfCanonical(model, *node, *text);
  }
  if (Problems problems = CheckMandatory(*operation, path, given); !problems.empty()) {
    return problems;
  }
  return action;
}

Invocation::Invocation(const Services& services, const Invoke& request, const std::string& user,
                       Done done)
    : services_(services), invoke_(request), done_(std::move(done)) {
  action_.set_user(user);
}

Invocation::~Invocation() {
  services_.providers.Forget(*this);
}

void Invocation::Start() {
  auto action = MakeAction(services_.model, services_.provider_model, invoke_);
  if (!action) {
    cfm::agent::Reply reply;
    AddProblems(action.Why(), reply);
    return std::exchange(done_, nullptr)(std::move(reply));
  }
  action_.MergeFrom(*action);
  actionpoint_ = action_.actionpoint();
  Provider* provider = services_.providers.ForActionpoint(actionpoint_);
  if (provider == nullptr) {
    return Finish(services_.providers.AbsenceOfActionpoint(actionpoint_));
  }
  provider->Want(*this);
}

void Invocation::OnTurn(Provider& provider) {
  if (services_.providers.ForActionpoint(actionpoint_) != &provider) {
    return Finish(services_.providers.AbsenceOfActionpoint(actionpoint_));
  }
  provider.Perform(*this, action_);
}

void Invocation::OnAnswer(std::uint64_t, const cfm::agent::ProviderReply& reply) {
  const bool is_done = reply.result() == cfm::agent::ProviderReply::OK;
  Finish(is_done ? "" : "the program that performs it failed: " + reply.error());
}

void Invocation::OnMiss(std::uint64_t, Miss, const std::string& why) {
  Finish(why);
}

void Invocation::Finish(const std::string& problem) {
  cfm::agent::Reply reply;
  if (!problem.empty()) {
    AddProblems(
        {{.message = invoke_.operation() + ": " + problem, .path = "/" + invoke_.operation()}},
        reply);
  }
  std::exchange(done_, nullptr)(std::move(reply));
}

}  // namespace agentd
