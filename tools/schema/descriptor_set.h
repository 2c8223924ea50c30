// The schema files with what they import and their comments, as protoc writes them: a
// FileDescriptorSet in wire format. Generated at build time.
#pragma once

#include <cstddef>

namespace qmsg {

extern const unsigned char kDescriptorSet[];
extern const std::size_t kDescriptorSetSize;

}  // namespace qmsg
