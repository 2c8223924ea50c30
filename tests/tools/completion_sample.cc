// Usage: tool_completion_sample bash|zsh|fish
// Writes the completion of a made-up command line, which takes all that there can be.

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "completion/completion.h"

int main(int /*argc*/, char** argv) try {
  CLI::App app("A made-up command line", "qmsg");
  std::string type;
  std::string file;
  std::vector<std::string> files;
  int level = 0;
  CLI::App* read = app.add_subcommand("read", R"(It's [a command]: "$HOME" `ls` \ 100%)");
  read->add_option("-a,--as", type, R"(It's [an option]: "$HOME" `ls` \ 100%)")->type_name("TYPE");
  read->add_option("--level", level, "A number");
  read->add_option("files", files, "Files")->type_name("FILE");
  CLI::App* pair = app.add_subcommand("pair", "A message, then a file");
  pair->add_option("type", type, "A message")->type_name("TYPE");
  pair->add_option("file", file, "A file")->type_name("FILE");

  const qmsg::CompletionInput input = qmsg::CompletionInputOf(app);
  const std::string shell = argv[1];
  std::cout << (shell == "bash"  ? qmsg::BashCompletion(input)
                : shell == "zsh" ? qmsg::ZshCompletion(input)
                                 : qmsg::FishCompletion(input));
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
