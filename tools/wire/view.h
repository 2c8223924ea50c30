// Shows bytes as the fields of a message.
#pragma once

#include <google/protobuf/descriptor.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "wire/hex_lines.h"

namespace qmsg {

// Shows each field of `bytes` as a message of that type, or of an unknown one if it is null, with
// all bytes in their order: what cannot be read too. What a google.protobuf.Any holds is shown as
// what it names. `base` is the offset of the first byte, `level` how far the fields are indented.
// Returns the number of faults.
std::size_t ViewMessage(std::string_view bytes, const google::protobuf::Descriptor* type,
                        std::uint64_t base, std::size_t level, HexLines& lines);

// "1 byte", "12 bytes".
std::string ByteCount(std::size_t count);

}  // namespace qmsg
