#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "doctor/checks.h"
#include "doctor/process.h"
#include "io/output.h"

namespace qmsg {
namespace doctor {
namespace {

struct Options {
  std::vector<std::string> libraries;
  bool json = false;
  bool no_load = false;
  std::string python;
  double timeout = 10;
};

std::vector<Object> ReadObjects(const Options& options) {
  std::vector<Object> objects;
  for (const std::string& path : options.libraries.empty()
                                     ? std::vector<std::string>{LoadedObject("libqmsg")}
                                     : options.libraries) {
    Object object = ReadObject(path);
    const bool is_new = std::none_of(objects.begin(), objects.end(), [&](const Object& other) {
      return other.path == object.path;
    });
    if (is_new) {
      objects.push_back(std::move(object));
    }
  }
  return objects;
}

ExitCode Run(const Options& options) {
  const std::chrono::milliseconds limit(static_cast<long>(options.timeout * 1000));
  const std::vector<Object> objects = ReadObjects(options);
  Findings findings;
  CheckObjects(objects, findings);
  if (std::any_of(objects.begin(), objects.end(),
                  [](const Object& object) { return object.IsUsable(); })) {
    CheckRuntime(objects, findings);
    const std::optional<Loading> loading =
        options.no_load ? std::nullopt : CheckLoading(objects, limit, findings);
    CheckSchema(objects, loading, findings);
    CheckNames(objects, loading, findings);
  }
  CheckPython(options.python, limit, findings);
  if (options.json) {
    PrintJson(findings, Output::Standard());
  } else {
    PrintText(findings, Output::Standard());
  }
  return IsSound(findings) ? ExitCode::kFine : ExitCode::kBadData;
}

}  // namespace
}  // namespace doctor

Command DoctorCommand() {
  auto options = std::make_shared<doctor::Options>();
  return {"doctor",
          "Check an installation",
          {{{"LIBRARY"},
            "libqmsg, a plugin that uses it, or several objects in the order in which one process "
            "loads them; default: the libqmsg that this tool uses",
            &options->libraries,
            "FILE"},
           {{"--json"}, "Print one JSON object", &options->json},
           {{"--no-load"},
            "Only read the files. By default they are loaded in a separate process, which runs "
            "their code",
            &options->no_load},
           {{"--python"}, "Python to check; default: python3 in PATH", &options->python, "FILE"},
           {{"--timeout"},
            "Time limit for loading, and for Python; default: 10",
            BoundedNumber{&options->timeout, 0.001, 3600},
            "SECONDS"}},
          "Each finding is a line: its level (ok, note, warning or error), its subject (tool, "
          "library,\n"
          "runtime, load, schema, names or python) and the description; advice follows after "
          "'->'.\n"
          "With --json: {\"version\": of the tool, \"sound\": true or false, \"findings\": "
          "[{\"level\",\n"
          "\"subject\", \"object\": a path or \"\", \"text\", \"advice\"}]}.\n"
          "Exit status: 0 no warning and no error; 1 a warning or an error; 2 wrong use; 3 a "
          "LIBRARY\n"
          "or the Python of --python cannot be opened.",
          {"qmsg doctor --timeout 5"},
          [options] { return doctor::Run(*options); }};
}

}  // namespace qmsg
