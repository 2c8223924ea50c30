// Checks the conventions that the comments of the schema state for single messages.
#pragma once

#include "check/findings.h"
#include "check/parsed_message.h"

namespace qmsg {

// Checks the message without its submessages. Sorts its keys.
void CheckConventions(ParsedMessage& message, Findings& findings);

// Stores the key of an element, if it has one, in `list`, the enclosing message.
void KeepKey(const ParsedMessage& element, ParsedMessage& list);

}  // namespace qmsg
