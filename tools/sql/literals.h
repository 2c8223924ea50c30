// SQL without its literals.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qmsg {

// How a database reads text in quotes.
enum class SqlQuotes {
  kMysql,     // "text" is a literal, and a backslash escapes
  kStandard,  // "text" is a name, and a backslash does not escape
  kUnknown,   // "text" is a literal, and the statement ends where the two would read on differently
};

// The statement without its literals, with ? in their place, and without comments. What follows a
// literal that does not end is left out. `literals` gets what stood between quotes: views of `sql`.
std::string WithoutLiterals(std::string_view sql, SqlQuotes quotes,
                            std::vector<std::string_view>* literals = nullptr);

}  // namespace qmsg
