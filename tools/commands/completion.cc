#include "completion/completion.h"

#include <memory>

#include "commands/command_line.h"
#include "commands/commands.h"
#include "io/output.h"

namespace qmsg {
namespace {

struct Options {
  std::string shell;
};

ExitCode Run(const Options& options, const CLI::App& root) {
  const CompletionInput input = CompletionInputOf(root);
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

Command AddCompletion(CLI::App& app) {
  auto options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("completion", "Write a script that completes command lines of qmsg");
  command->add_option("shell", options->shell, "The shell that reads it")
      ->check(CLI::IsMember({"bash", "zsh", "fish"}))
      ->type_name("SHELL")
      ->required();
  command->footer(
      "Example:\n"
      "  qmsg completion bash > qmsg.bash");
  return {command, [options, &app] { return Run(*options, app); }};
}

}  // namespace qmsg
