// The objects and versions of this process.
#pragma once

#include <string>

namespace qmsg::doctor {

// Path, without symbolic links, of the loaded object whose file name has that prefix; empty if
// there is none.
std::string LoadedObject(const std::string& beginning);

// The protobuf release of the headers that the tool was compiled with, "3.21.12".
std::string HeaderVersion();

// The release of the runtime in use; "unknown" if it cannot be determined.
std::string RuntimeVersion();

// The program beside this one that loads objects; empty if it is not installed.
std::string ProbePath();

}  // namespace qmsg::doctor
