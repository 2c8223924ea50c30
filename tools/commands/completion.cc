#include "completion/completion.h"

#include <memory>

#include "commands/commands.h"
#include "io/output.h"

namespace qmsg {
namespace {

struct CompletionOptions {
  std::string shell;
};

ExitCode WriteCompletion(const CompletionOptions& options, const CommandLine& line) {
  const CompletionInput input = CompletionInputOf(line);
  std::string script;
  if (options.shell == "bash") {
    script = BashCompletion(input);
  } else if (options.shell == "zsh") {
    script = ZshCompletion(input);
  } else {
    script = FishCompletion(input);
  }
  Output::Standard().Write(script);
  return ExitCode::kFine;
}

}  // namespace

Command CompletionCommand(const CommandLine& line) {
  auto options = std::make_shared<CompletionOptions>();
  return {"completion",
          "Write a completion script for a shell",
          {{{"shell"},
            "The shell that reads it",
            &options->shell,
            "SHELL",
            {"bash", "zsh", "fish"},
            Presence::kRequired}},
          "",
          {"qmsg completion bash > qmsg.bash"},
          [options, &line] { return WriteCompletion(*options, line); }};
}

}  // namespace qmsg
