// Shows bytes as the fields of a message.
#pragma once

#include <google/protobuf/descriptor.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "wire/hex_lines.h"

namespace qmsg {

// Shows each field of `bytes` as a message of that type; null: of an unknown type. All bytes are
// shown in their order, including those that cannot be parsed. The content of a google.protobuf.Any
// is shown as the type that it names. `base` is the offset of the first byte, `level` the
// indentation of the fields. Returns the number of faults.
std::size_t ViewMessage(std::string_view bytes, const google::protobuf::Descriptor* type,
                        std::uint64_t base, std::size_t level, HexLines& lines);

// "1 byte", "12 bytes".
std::string ByteCount(std::size_t count);

}  // namespace qmsg
