// What statements that differ in their values alone have in common.
#pragma once

#include <string>
#include <string_view>

#include "sql/literals.h"

namespace qmsg {

// The statement with ? for each literal and placeholder, one blank for each run of white space, and
// (?+) for each list of ?, such as IN (1, 2) and the rows of VALUES.
std::string Fingerprint(std::string_view sql, SqlQuotes quotes);

}  // namespace qmsg
