#include "doctor/checks.h"
#include "doctor/process.h"

namespace qmsg::doctor {
namespace {

void CheckObject(const Object& object, const std::string& own_soname, Findings& findings) {
  const std::string& soname = object.elf.soname;
  const std::string version = VersionOf(object.path);
  const auto add = [&](Level level, const std::string& text, const std::string& advice) {
    findings.push_back({level, "library", object.path, object.path + ' ' + text, advice});
  };
  if (!object.elf.fault.empty()) {
    add(Level::kError, object.elf.fault,
        "install the library again, or name its file: libqmsg.so.1");
  } else if (object.elf.is_program) {
    add(Level::kError, "is a program; a process cannot load it",
        "name the libraries that it loads; ldd lists them");
  } else if (soname.rfind("libqmsg.so", 0) == 0 && soname != own_soname) {
    add(Level::kError, "has the SONAME " + soname + "; this tool was built for " + own_soname,
        "programs built for one do not start with the other: use the tool of the same version");
  } else if (soname == own_soname && version != "unknown" && version != QMSG_VERSION) {
    add(Level::kWarning, "is version " + version + ", this tool is " QMSG_VERSION,
        "install the tool and the library from the same version");
  } else {
    add(Level::kOk, "is version " + version + ", SONAME " + (soname.empty() ? "unknown" : soname),
        "");
  }
}

}  // namespace

void CheckObjects(const std::vector<Object>& objects, Findings& findings) {
  const std::string own_path = LoadedObject("libqmsg");
  const std::string own_soname = ReadObject(own_path).elf.soname;
  findings.push_back(
      {Level::kOk, "tool", own_path, "qmsg " QMSG_VERSION ", linked with " + own_path, ""});
  for (const Object& object : objects) {
    CheckObject(object, own_soname, findings);
  }
}

}  // namespace qmsg::doctor
