#include "help.h"

#include "io/wrap.h"

namespace qmsg {

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
  if (option->get_positional()) {
    return option->get_items_expected_max() > 1 ? "..." : "";
  }
  return CLI::Formatter::make_option_opts(option);
}

// The library indents what stands behind a new line.
std::string HelpFormatter::make_option_desc(const CLI::Option* option) const {
  std::string wrapped = Wrap(CLI::Formatter::make_option_desc(option), kTextColumn);
  std::string text;
  for (std::size_t begin = 0, end = 0; begin < wrapped.size(); begin = end + 1) {
    end = wrapped.find('\n', begin);
    text +=
        (text.empty() ? "" : "\n") + wrapped.substr(begin + kTextColumn, end - begin - kTextColumn);
  }
  return text;
}

std::string HelpFormatter::make_footer(const CLI::App* app) const {
  return Wrap(app->get_footer(), 0);
}

}  // namespace qmsg
