#include "doctor/checks.h"
#include "doctor/process.h"

namespace qmsg::doctor {
namespace {

// "3.21" of "3.21.12".
std::string Line(const std::string& version) { return version.substr(0, version.rfind('.')); }

void CheckNeeded(const Object& object, const std::string& in_use, Findings& findings) {
  const std::string needed = object.Needed("libprotobuf.so");
  if (!object.IsUsable() || needed == in_use) {
    return;
  }
  if (!needed.empty()) {
    findings.push_back({Level::kError, "runtime", object.path,
                        object.path + " was built for " + needed + "; " + in_use + " is in use",
                        "a process fails with two runtimes: rebuild it with protobuf " +
                            Line(HeaderVersion()) + ", or install its build for this system"});
  } else if (!object.files.empty()) {
    findings.push_back(
        {Level::kWarning, "runtime", object.path,
         object.path +
             " has message classes but is not linked with a protobuf runtime: it contains one",
         "link it with the shared libprotobuf, so that a process has one runtime"});
  }
}

}  // namespace

void CheckRuntime(const std::vector<Object>& objects, Findings& findings) {
  const std::string path = LoadedObject("libprotobuf.so");
  const std::string version = RuntimeVersion();
  const std::string header = HeaderVersion();
  const auto add = [&findings](Level level, const std::string& object, const std::string& text,
                               const std::string& advice) {
    findings.push_back({level, "runtime", object, text, advice});
  };
  if (path.empty()) {
    add(Level::kNote, "", "protobuf " + version + " is linked into this tool",
        "the runtimes of the libraries cannot be compared with it");
    return;
  }
  const std::string soname = ReadObject(path).elf.soname;
  const std::string in_use = "protobuf " + version + " is in use: " + path;
  if (Line(version) != Line(header)) {
    add(Level::kError, path, in_use + ", but this tool was compiled for " + header,
        "install protobuf " + Line(header) + " (on Debian 12: apt-get install libprotobuf32)");
  } else {
    add(Level::kOk, path, in_use + ", SONAME " + soname + "; headers: " + header, "");
  }
  for (const Object& object : objects) {
    CheckNeeded(object, soname, findings);
  }
}

}  // namespace qmsg::doctor
