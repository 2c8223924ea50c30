#include <map>
#include <sstream>
#include <system_error>

#include "doctor/checks.h"
#include "doctor/child.h"
#include "error.h"

namespace qmsg::doctor {
namespace {

// Prints "name value" on a line for each fact. A folder called qmsg in the working directory is not
// the package.
constexpr char kProgram[] = R"(import sys
sys.path[:] = [path for path in sys.path if path]
print("python", sys.version.split()[0])
try:
    import google.protobuf
except ImportError:
    sys.exit()
print("protobuf", google.protobuf.__version__)
from google.protobuf.internal import api_implementation
print("type", api_implementation.Type())
try:
    import qmsg
except ImportError:
    sys.exit()
print("qmsg", qmsg.implementation())
)";

std::map<std::string, std::string> ReadFacts(const std::string& output) {
  std::map<std::string, std::string> facts;
  std::istringstream lines(output);
  std::string line;
  while (std::getline(lines, line)) {
    const std::size_t space = line.find(' ');
    if (space != std::string::npos) {
      facts[line.substr(0, space)] = line.substr(space + 1);
    }
  }
  return facts;
}

Finding Judge(std::map<std::string, std::string>& facts, const std::string& command) {
  const auto finding = [&command](Level level, const std::string& text, const std::string& advice) {
    return Finding{level, "python", command, text, advice};
  };
  std::string text = command + " is Python " + facts["python"];
  if (facts.count("protobuf") == 0) {
    return finding(Level::kNote, text + ", without protobuf",
                   "to read messages there: apt-get install python3-protobuf");
  }
  text += " with protobuf " + facts["protobuf"] + " (" + facts["type"] + ")";
  if (facts["type"] != "cpp") {
    return finding(Level::kNote, text + ", which cannot use libqmsg and is slower",
                   "use Debian's python3 with python3-protobuf, which can; unset "
                   "PROTOCOL_BUFFERS_PYTHON_IMPLEMENTATION");
  }
  if (facts.count("qmsg") == 0) {
    return finding(Level::kNote, text + ", without the package qmsg",
                   "install python3-qmsg: it loads libqmsg first, so that protobuf uses the "
                   "compiled classes");
  }
  text += "; the package qmsg uses: " + facts["qmsg"];
  if (facts["qmsg"] != "compiled classes") {
    return finding(Level::kNote, text,
                   "libqmsg.so.1 was not found: add its folder to LD_LIBRARY_PATH, or call "
                   "qmsg.load(PATH) before importing generated modules");
  }
  return finding(Level::kOk, text, "");
}

}  // namespace

void CheckPython(const std::string& python, std::chrono::milliseconds limit, Findings& findings) {
  const std::string command = python.empty() ? "python3" : python;
  const ChildResult result = RunChild({command, "-c", kProgram}, limit);
  if (result.start_error != 0) {
    if (!python.empty()) {
      throw Error(ExitCode::kInputOutput, "cannot run '" + python + "': " +
                                              std::generic_category().message(result.start_error));
    }
    findings.push_back({Level::kNote, "python", "", "there is no python3 in PATH", ""});
    return;
  }
  std::map<std::string, std::string> facts = ReadFacts(result.output);
  const bool well = !result.timed_out && result.signal == 0 && result.status == 0;
  if (!well || facts.count("python") == 0) {
    const std::string errors = result.errors.substr(0, result.errors.find_last_not_of('\n') + 1);
    const std::size_t line = errors.rfind('\n');
    findings.push_back(
        {Level::kWarning, "python", command,
         command + ", run to report its protobuf, " + HowItEnded(result, limit) +
             (errors.empty()
                  ? ""
                  : "; it said: " + errors.substr(line == std::string::npos ? 0 : line + 1)),
         "repair this Python's protobuf, or name another Python with --python"});
    return;
  }
  findings.push_back(Judge(facts, command));
}

}  // namespace qmsg::doctor
