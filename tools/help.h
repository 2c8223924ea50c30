// How help is set.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace qmsg {

// Arguments by their name alone, and texts in lines of 80 columns.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter() { column_width(kTextColumn); }

  std::string make_option_opts(const CLI::Option* option) const override;
  std::string make_option_desc(const CLI::Option* option) const override;
  std::string make_footer(const CLI::App* app) const override;

 private:
  static constexpr std::size_t kTextColumn = 28;
};

}  // namespace qmsg
