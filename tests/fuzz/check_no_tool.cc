// In place of check_tool.cc where the tool is not built.
#include <stdexcept>

#include "check_tool.h"

namespace fuzz {

void CheckTool(const google::protobuf::Descriptor* /*type*/, const std::string& /*bytes*/) {
  throw std::runtime_error("the tool is not built; configure with -DQMSG_BUILD_TOOLS=ON");
}

}  // namespace fuzz
