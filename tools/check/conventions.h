// What the comments of the schema promise about the content of single messages.
#pragma once

#include "check/findings.h"
#include "check/tree.h"

namespace qmsg {

// Judges the message, not those below it. Sorts its keys.
void JudgeConventions(Node& node, Findings& findings);

// Keeps the key of an element in the list that it leaves, if elements have one there. `list` is the
// message around it.
void KeepKey(const Node& element, Node& list);

}  // namespace qmsg
