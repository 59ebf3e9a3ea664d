#include <fmt/format.h>
#include <fmt/ostream.h>

#include <memory>

#include "choices.h"
#include "client/tree_codec.h"
#include "command.h"
#include "core/configuration_tables.h"
#include "core/failure.h"
#include "path_argument.h"
#include "replies.h"

namespace cfmctl {
namespace {

namespace agent = cfm::agent;

struct Options {
  std::string path;
  std::string format = "table";
  bool candidate = false;
  bool defaults = false;
};

agent::Format ToFormat(const std::string& format) {
  if (format == "table") {
    return agent::FORMAT_TREE;
  }
  return format == "xml" ? agent::FORMAT_XML : agent::FORMAT_JSON;
}

// Empty when there is nothing.
std::string ToText(const agent::Reply& reply, agent::Format format, const Path& path) {
  if (format == agent::FORMAT_TREE) {
    return ConfigurationTables(ToTree(reply.node()), path);
  }
  const std::string& document = reply.document();
  const bool holds_nothing = document.find_first_not_of("{} \n") == std::string::npos;
  if (holds_nothing && !path.steps.empty()) {
    return {};
  }
  return document.empty() || document.ends_with('\n') ? document : document + '\n';
}

void Get(const Environment& environment, const Options& options) {
  const Path path = PathArgument(options.path);
  const agent::Format format = ToFormat(options.format);
  agent::Request request;
  agent::Get& get = *request.mutable_get();
  get.set_datastore(options.candidate ? agent::DATASTORE_CANDIDATE : agent::DATASTORE_RUNNING);
  // A table is made of whole entries, so that a node that is not there can be
  // told from an empty one.
  get.set_path(GetPath(format == agent::FORMAT_TREE ? EnclosingEntry(path) : path));
  get.set_format(format);
  get.set_with_defaults(options.defaults);
  const agent::Reply reply = environment.ConnectAgent().Ask(request);
  CheckReply(environment, reply, "the configuration cannot be shown");
  const std::string text = ToText(reply, format, path);
  if (text.empty() && !path.steps.empty()) {
    throw Failure(ExitStatus::kRefused,
                  fmt::format("nothing is configured at {}", ToInstancePath(path)));
  }
  const bool says_so = text.empty() && format == agent::FORMAT_TREE;
  fmt::print(environment.out, "{}", says_so ? "the configuration is empty\n" : text);
}

}  // namespace

void AddGet(CLI::App& app, Environment& environment) {
  app.description("Show the configuration");
  app.footer(std::string(kPathHelp) +
             "\n\n"
             "Examples:\n"
             "  cfmctl get                                  everything, as tables\n"
             "  cfmctl get 'md{east}/ma{blue}' --defaults   with the defaults in force\n"
             "  cfmctl get --format xml > backup.xml        what \"cfmctl load\" takes\n"
             "  cfmctl get --candidate                      what a commit would make of it");
  const auto options = std::make_shared<Options>();
  app.add_option("PATH", options->path, "What to show; none: everything");
  app.add_option("--format", options->format, "table (the default), xml or json")
      ->check(OneOf(kViewFormats));
  app.add_flag("--candidate", options->candidate, "The candidate, not what is running");
  app.add_flag("--defaults", options->defaults, "Leaves that have their default, too");
  app.callback([options, &environment] { Get(environment, *options); });
}

}  // namespace cfmctl
