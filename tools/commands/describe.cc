#include <memory>

#include "commands/commands.h"
#include "describe/render.h"
#include "io/output.h"

namespace qmsg {
namespace {

struct DescribeOptions {
  std::string name;
  std::string format = "text";
};

ExitCode PrintDescription(const DescribeOptions& options) {
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

Command DescribeCommand() {
  auto options = std::make_shared<DescribeOptions>();
  return {"describe",
          "Explain a message, field, enum, value, oneof or file",
          {{{"name"},
            "Full name of the element, or an unambiguous end of it",
            &options->name,
            "NAME",
            {},
            Presence::kRequired},
           {{"--format"},
            "Format of the output; default: text",
            &options->format,
            "",
            {"text", "json", "markdown"}}},
          "",
          {"qmsg describe SqlQuery", "qmsg describe SqlQuery.flags --format json",
           "qmsg describe tarq.proto --format markdown"},
          [options] { return PrintDescription(*options); }};
}

}  // namespace qmsg
