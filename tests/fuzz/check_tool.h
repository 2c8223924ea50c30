// Properties that hold for any bytes in the parts of the tool that read them: the walk over the
// wire format, check, wire and guess.
#pragma once

#include <google/protobuf/descriptor.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "check.h"

namespace fuzz {

// Reads the bytes as a message of that type, as one of an unknown type, as a google.protobuf.Any
// and as what an Any holds. The runtime's parser says which of these they are. Throws Disagreement.
void CheckTool(const google::protobuf::Descriptor* type, const std::string& bytes);

// The parts of CheckTool() that look at what the tool prints.

// How much of the bytes a view shows.
enum class Shown { kAll, kBeginnings };

// A view has to have the bytes in their order, each once and under its offset, the first one's
// being `base`; those left out are where it has "..".
void CheckView(std::string_view view, std::string_view bytes, std::uint64_t base, Shown shown);
// Text has to be UTF-8 without control characters, which would be commands to a terminal.
void CheckLine(std::string_view line);

}  // namespace fuzz
