// Findings about an installation.
#pragma once

#include <string>
#include <vector>

#include "io/output.h"

namespace qmsg::doctor {

enum class Level { kOk, kNote, kWarning, kError };

struct Finding {
  Level level;
  std::string subject;  // one of: tool, library, runtime, load, schema, names, python
  std::string object;   // path of the file; empty if there is none
  std::string text;     // may hold arbitrary bytes, for example of a path
  std::string advice;   // what to do; empty if nothing
};

using Findings = std::vector<Finding>;

// Whether there are neither warnings nor errors.
bool IsSound(const Findings& findings);

// A line for each finding, and one for each advice.
void PrintText(const Findings& findings, Output& output);

// One JSON object, as `qmsg doctor --help` describes it.
void PrintJson(const Findings& findings, Output& output);

}  // namespace qmsg::doctor
