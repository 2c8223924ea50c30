// Renders a description.
#pragma once

#include <string>

#include "describe/description.h"

namespace qmsg {

// For a terminal of 80 columns; names bold if `colour` is wanted.
std::string AsText(const Description& description, bool colour);

// To paste into a document: a heading of the third level, tables.
std::string AsMarkdown(const Description& description);

// One object, with the same keys for every kind; lists that the kind does not have are empty.
std::string AsJson(const Description& description);

}  // namespace qmsg
