// The checks. Each adds its findings.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "doctor/finding.h"
#include "doctor/object.h"

namespace qmsg::doctor {

// The state of a separate process, started without libqmsg, after loading the objects.
struct Loading {
  std::vector<std::string> loaded;       // paths of all objects in that process
  std::vector<SchemaFile> schema_files;  // the registered files, without packages
};

// Names, versions and formats of the objects, and of this tool.
void CheckObjects(const std::vector<Object>& objects, Findings& findings);

// The protobuf runtime that is in use, and those that the objects were built for.
void CheckRuntime(const std::vector<Object>& objects, Findings& findings);

// Loads the objects in turn in a separate process, as the host of an extension does. Returns
// nothing if that process did not finish.
std::optional<Loading> CheckLoading(const std::vector<Object>& objects,
                                    std::chrono::milliseconds limit, Findings& findings);

// Whether the schema files that this tool knows are registered; without `loading`, whether the
// objects contain them.
void CheckSchema(const std::vector<Object>& objects, const std::optional<Loading>& loading,
                 Findings& findings);

// Schema files that are in two objects; a process can have each only once.
void CheckNames(const std::vector<Object>& objects, const std::optional<Loading>& loading,
                Findings& findings);

// The protobuf implementation of that Python. Throws Error if `python` is not empty and cannot be
// run; if it is empty, checks python3, which may be missing.
void CheckPython(const std::string& python, std::chrono::milliseconds limit, Findings& findings);

}  // namespace qmsg::doctor
