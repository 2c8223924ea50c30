// The comments of the schema files.
#pragma once

#include <string>

#include "schema/names.h"

namespace qmsg {

// The comment before the element, without comment markers and with its line breaks; of a file, the
// comment at its top. Empty if there is none. The text is embedded in the tool.
const std::string& CommentOf(const Element& element);

}  // namespace qmsg
