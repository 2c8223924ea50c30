#include <algorithm>

#include "doctor/checks.h"
#include "io/join.h"

namespace qmsg::doctor {
namespace {

enum class State { kMissing, kOther, kSame };

State StateOf(const SchemaFile& known, const std::vector<Object>& objects,
              const std::optional<Loading>& loading) {
  State state = State::kMissing;
  if (loading) {
    for (const SchemaFile& file : loading->schema_files) {
      if (file.name == known.name) {
        state = file.bytes == known.bytes ? State::kSame : State::kOther;
      }
    }
    return state;
  }
  for (const Object& object : objects) {
    for (const Carried& carried : object.files) {
      if (carried.file.name == known.name && state != State::kSame) {
        state = carried.known ? State::kSame : State::kOther;
      }
    }
  }
  return state;
}

}  // namespace

void CheckSchema(const std::vector<Object>& objects, const std::optional<Loading>& loading,
                 Findings& findings) {
  std::vector<std::string> missing;
  std::vector<std::string> other;
  const std::vector<SchemaFile>& known = KnownSchemaFiles();
  for (const SchemaFile& file : known) {
    const State state = StateOf(file, objects, loading);
    if (state == State::kMissing) {
      missing.push_back(file.name);
    } else if (state == State::kOther) {
      other.push_back(file.name);
    }
  }
  const std::string verb = loading ? " registered" : " in the file";
  const auto add = [&findings](Level level, const std::string& text, const std::string& advice) {
    findings.push_back({level, "schema", "", text, advice});
  };
  if (!other.empty()) {
    add(Level::kError, "with other content than this tool knows: " + Join(other, ", "),
        "install the tool and the library from the same version; put your own schema files into a "
        "folder of their own, as docs/embedding.md shows");
  }
  if (missing.size() == known.size()) {
    const bool uses_library = std::any_of(objects.begin(), objects.end(), [](const Object& object) {
      return !object.Needed("libqmsg.so").empty();
    });
    add(loading || !uses_library ? Level::kWarning : Level::kNote,
        "none of the " + std::to_string(known.size()) + " schema files is" + verb,
        uses_library ? "the libqmsg that it is linked with has them"
                     : "name libqmsg as well, to check both together: qmsg doctor LIBQMSG PLUGIN");
  } else if (!missing.empty()) {
    add(Level::kError, "not" + verb + ": " + Join(missing, ", "),
        "use libqmsg instead of classes generated from some of its schema files");
  }
  if (other.empty() && missing.empty()) {
    add(Level::kOk,
        "all " + std::to_string(known.size()) + " schema files are" + verb +
            ", with the content that this tool knows",
        "");
  }
}

}  // namespace qmsg::doctor
