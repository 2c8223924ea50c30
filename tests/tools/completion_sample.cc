// Usage: tool_completion_sample bash|zsh|fish
// Writes the completion of a made-up command line, which has every kind of option and argument.

#include <cstddef>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "completion/completion.h"

int main(int /*argc*/, char** argv) try {
  std::string type;
  std::string file;
  std::vector<std::string> files;
  std::size_t level = 0;
  const std::string special = R"(: "$HOME" `ls` \ 100%)";
  qmsg::CommandLine line;
  line.commands = {{"read",
                    "It's [a command]" + special,
                    {{{"-a", "--as"}, "It's [an option]" + special, &type, "TYPE"},
                     {{"--level"}, "A number", &level, "INT"},
                     {{"files"}, "Files", &files, "FILE"}}},
                   {"pair",
                    "A message, then a file",
                    {{{"type"}, "A message", &type, "TYPE"}, {{"file"}, "A file", &file, "FILE"}}}};

  const qmsg::CompletionInput input = qmsg::CompletionInputOf(line);
  const std::string shell = argv[1];
  std::cout << (shell == "bash"  ? qmsg::BashCompletion(input)
                : shell == "zsh" ? qmsg::ZshCompletion(input)
                                 : qmsg::FishCompletion(input));
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
