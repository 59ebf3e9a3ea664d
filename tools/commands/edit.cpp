#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <memory>
#include <sstream>

#include "command.h"
#include "core/failure.h"
#include "core/utf8.h"
#include "core/words.h"
#include "input_file.h"
#include "path_argument.h"
#include "submission.h"

namespace cfmctl {
namespace {

struct Options {
  std::string file;
  bool candidate = false;
};

// One line of a file of operations; empty and comment lines have no edits.
std::vector<Edit> EditsOfLine(const std::string& line) {
  if (!IsUtf8(line)) {
    throw Failure(ExitStatus::kUsage, "the line is no UTF-8");
  }
  std::vector<std::string> words;
  for (const Word& word : SplitWords(line, Comments::kHash)) {
    if (word.open_quote != 0) {
      throw Failure(ExitStatus::kUsage, fmt::format("a {} is not closed", word.open_quote));
    }
    words.push_back(word.text);
  }
  return EditArguments(words);
}

std::vector<Edit> EditsOfFile(const Environment& environment, const std::string& file) {
  std::istringstream lines(ReadInput(environment, file));
  std::vector<Edit> edits;
  std::string line;
  for (int number = 1; std::getline(lines, line); ++number) {
    try {
      const std::vector<Edit> more = EditsOfLine(line);
      edits.insert(edits.end(), more.begin(), more.end());
    } catch (const Failure& failure) {
      throw Failure(failure.Status(),
                    fmt::format("{}:{}: {}", InputName(file), number, failure.what()));
    }
  }
  return edits;
}

void RunEdit(const Environment& environment, const Options& options,
             const std::vector<std::string>& words) {
  if (!options.file.empty() && !words.empty()) {
    throw Failure(ExitStatus::kUsage, "edit: operations come from --file or the command line");
  }
  const std::vector<Edit> edits =
      options.file.empty() ? EditArguments(words) : EditsOfFile(environment, options.file);
  if (edits.empty()) {
    throw Failure(ExitStatus::kUsage, "edit: there is no operation; see cfmctl edit --help");
  }
  Submit(environment, edits, options.candidate);
}

}  // namespace

void AddEdit(CLI::App& app, Environment& environment) {
  app.description("Carry out several edits in one commit, all or nothing");
  app.footer(std::string(kPathHelp) +
             "\n"
             "OPERATION, which holds until the next one, with or without --:\n"
             "  merge    set the leaf, create the entry (also: set)\n"
             "  replace  the same, and what was below the path before goes away\n"
             "  create   an error when it is there already\n"
             "  delete   an error when it is not there\n"
             "  remove   no error either way\n\n"
             "Examples:\n"
             "  cfmctl edit merge 'md{east}/level' 3 delete 'md{west}'\n"
             "  cfmctl edit create 'md{north}' merge 'md{north}/level' 5 remove 'md{south}'\n"
             "  cfmctl edit --file changes.txt     lines as above; # begins a comment");
  app.allow_extras();  // the words: their order is their meaning
  const auto options = std::make_shared<Options>();
  app.add_option("--file", options->file, "Read the operations from a file; - is standard input");
  app.add_flag("--candidate", options->candidate, "Change the candidate and commit nothing");
  app.callback([options, &app, &environment] { RunEdit(environment, *options, app.remaining()); });
}

}  // namespace cfmctl
