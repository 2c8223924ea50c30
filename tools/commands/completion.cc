#include "completion/completion.h"

#include <memory>

#include "commands/commands.h"
#include "io/output.h"

namespace qmsg {
namespace {

struct Options {
  std::string shell;
};

ExitCode Run(const Options& options, const CommandLine& line) {
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
  auto options = std::make_shared<Options>();
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
          [options, &line] { return Run(*options, line); }};
}

}  // namespace qmsg
