// Writes PHP arrays in the wire format.
#pragma once

#include <php.h>

#include "codec/back_writer.h"
#include "codec/tables.h"

namespace qmsg::php {

// How many google.protobuf.Any may be one in another. The schema bounds the depth of all others.
inline constexpr int kMostAnyDepth = 100;

// Writes the message, as its class would write it, with maps in the order of their keys. Throws
// Failure. It runs no code of the script and raises no error of the engine.
void Encode(const MessageTable& table, HashTable* value, BackWriter& to);

}  // namespace qmsg::php
