#include "commands/command.h"

#include <algorithm>
#include <iterator>

#include "io/join.h"

namespace qmsg {

std::string Option::Placeholder() const {
  return value.empty() && !choices.empty() ? '{' + Join(choices, ",") + '}' : value;
}

std::vector<Option> Command::NamedOptions() const {
  std::vector<Option> named;
  std::copy_if(options.begin(), options.end(), std::back_inserter(named),
               [](const Option& option) { return !option.IsArgument(); });
  return named;
}

std::vector<Option> Command::Arguments() const {
  std::vector<Option> arguments;
  std::copy_if(options.begin(), options.end(), std::back_inserter(arguments),
               [](const Option& option) { return option.IsArgument(); });
  return arguments;
}

}  // namespace qmsg
