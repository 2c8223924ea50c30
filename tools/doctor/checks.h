// The checks, each of which adds what it finds.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "doctor/finding.h"
#include "doctor/object.h"

namespace qmsg::doctor {

// What a process that has no libqmsg yet came to know by opening objects.
struct Loading {
  std::vector<std::string> loaded;       // paths of all objects in the process
  std::vector<SchemaFile> schema_files;  // what is registered, without packages
};

// Names, versions and forms of the objects, and of this tool.
void CheckObjects(const std::vector<Object>& objects, Findings& findings);

// The protobuf runtime that is in use, and those that the objects were built for.
void CheckRuntime(const std::vector<Object>& objects, Findings& findings);

// Opens the objects in turn in a process of their own, as an extension's host does. Nothing if that
// process did not come to its end.
std::optional<Loading> CheckLoading(const std::vector<Object>& objects,
                                    std::chrono::milliseconds limit, Findings& findings);

// Whether the schema files are registered as this tool knows them; without `loading`, whether the
// objects have them.
void CheckSchema(const std::vector<Object>& objects, const std::optional<Loading>& loading,
                 Findings& findings);

// Schema files that two objects have, of which a process can have only one.
void CheckNames(const std::vector<Object>& objects, const std::optional<Loading>& loading,
                Findings& findings);

// Which implementation of protobuf that Python has. Throws Error if `python` is not empty and
// cannot be run; if it is empty, python3 is taken, which need not be there.
void CheckPython(const std::string& python, std::chrono::milliseconds limit, Findings& findings);

}  // namespace qmsg::doctor
