// Describes in words where bytes are not a valid message.
#pragma once

#include <google/protobuf/descriptor.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "wire/walk.h"

namespace qmsg {

// "offset 17, queries[3].query: byte 0xff ...". `base`: the offset of the walk's first byte.
std::string Describe(const Fault& fault, const Path& path, std::uint64_t base);

// The first fault of these bytes in words; empty if they are a valid message of that type.
std::string FirstFault(std::string_view bytes, const google::protobuf::Descriptor* type,
                       std::uint64_t base);

}  // namespace qmsg
