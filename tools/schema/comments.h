// What the schema files say in words.
#pragma once

#include <string>

#include "schema/names.h"

namespace qmsg {

// The comment in front of the element, lines as they stand in the file, without the signs of a
// comment; of a file the one at its top. Empty if there is none. The text is in the tool itself.
const std::string& CommentOf(const Element& element);

}  // namespace qmsg
