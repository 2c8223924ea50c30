#include <memory>

#include "commands/commands.h"
#include "describe/render.h"
#include "io/output.h"

namespace qmsg {
namespace {

struct Options {
  std::string name;
  std::string format = "text";
};

ExitCode Run(const Options& options) {
  Output& output = Output::Standard();
  const Description description = Describe(FindElement(options.name));
  if (options.format == "json") {
    output.Write(AsJson(description));
  } else if (options.format == "markdown") {
    output.Write(AsMarkdown(description));
  } else {
    output.Write(AsText(description, WantsColour(output)));
  }
  return ExitCode::kFine;
}

}  // namespace

Command AddDescribe(CLI::App& app) {
  auto options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("describe", "Explain a message, field, enum, value, oneof or file");
  command
      ->add_option("name", options->name,
                   "What to explain, by its full name or an unambiguous end of it")
      ->type_name("NAME")
      ->required();
  command->add_option("--format", options->format, "What to write")
      ->check(CLI::IsMember({"text", "json", "markdown"}))
      ->capture_default_str();
  command->footer(
      "Example:\n"
      "  qmsg describe SqlQuery\n"
      "  qmsg describe SqlQuery.flags --format json\n"
      "  qmsg describe tarq.proto --format markdown");
  return {command, [options] { return Run(*options); }};
}

}  // namespace qmsg
