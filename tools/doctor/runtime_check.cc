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
                        "two runtimes in one process fail: build it again with protobuf " +
                            Line(HeaderVersion()) + ", or use a build of it for this system"});
  } else if (!object.files.empty()) {
    findings.push_back(
        {Level::kWarning, "runtime", object.path,
         object.path + " has message classes and names no protobuf runtime: it has one of its own",
         "link it with the shared libprotobuf, or two runtimes meet in one process"});
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
    add(Level::kNote, "", "protobuf " + version + " is a part of this tool",
        "what the libraries were built for cannot be compared with it");
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
