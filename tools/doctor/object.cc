#include "doctor/object.h"

#include <google/protobuf/descriptor.pb.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "error.h"
#include "io/input.h"
#include "schema/schema.h"

namespace qmsg::doctor {
namespace fs = std::filesystem;

const std::vector<SchemaFile>& KnownSchemaFiles() {
  static const std::vector<SchemaFile> files = [] {
    std::vector<SchemaFile> known;
    for (const google::protobuf::FileDescriptor* file : SchemaFiles()) {
      google::protobuf::FileDescriptorProto proto;
      file->CopyTo(&proto);
      known.push_back({file->name(), file->package(), proto.SerializeAsString()});
    }
    return known;
  }();
  return files;
}

namespace {

// The schema file of that name; null if there is none.
const SchemaFile* FindKnownSchemaFile(const std::string& name) {
  const auto& files = KnownSchemaFiles();
  const auto found = std::find_if(files.begin(), files.end(),
                                  [&name](const SchemaFile& file) { return file.name == name; });
  return found == files.end() ? nullptr : &*found;
}

}  // namespace

bool Object::Needs(const std::string& soname) const {
  return std::find(elf.needed.begin(), elf.needed.end(), soname) != elf.needed.end();
}

std::string Object::Needed(const std::string& beginning) const {
  const auto found =
      std::find_if(elf.needed.begin(), elf.needed.end(),
                   [&](const std::string& name) { return name.rfind(beginning, 0) == 0; });
  return found == elf.needed.end() ? "" : *found;
}

Object ReadObject(const std::string& path) {
  std::error_code error;
  Object object;
  object.path = fs::canonical(path, error);
  if (error) {
    throw Error(ExitCode::kInputOutput, "cannot open '" + path + "': " + error.message());
  }
  // Opening a pipe or a device could block forever.
  if (!fs::is_regular_file(object.path, error)) {
    throw Error(ExitCode::kInputOutput, "'" + path + "' is " +
                                            (fs::is_directory(object.path, error)
                                                 ? "a directory; name the library in it"
                                                 : "not a regular file; name a shared library"));
  }
  Input input(object.path, Form::kBinary);
  const std::string bytes = ReadAll(input);
  object.elf = ReadElf(bytes);
  if (!object.elf.fault.empty()) {
    return object;
  }
  for (const auto& [offset, size] : object.elf.loaded) {
    const std::string_view part = std::string_view(bytes).substr(offset, size);
    for (EmbeddedFile& file : FindEmbeddedFiles(part)) {
      const SchemaFile* known = FindKnownSchemaFile(file.name);
      const bool same =
          known != nullptr && part.substr(file.offset, known->bytes.size()) == known->bytes;
      object.files.push_back({std::move(file), same});
    }
  }
  return object;
}

std::string VersionOf(const std::string& path) {
  static constexpr std::string_view kBefore = ".so.";
  const std::string name = fs::path(path).filename();
  const std::size_t before = name.rfind(kBefore);
  if (before == std::string::npos) {
    return "unknown";
  }
  const std::string version = name.substr(before + kBefore.size());
  const bool is_version = std::count(version.begin(), version.end(), '.') == 2 &&
                          version.find_first_not_of("0123456789.") == std::string::npos;
  return is_version ? version : "unknown";
}

}  // namespace qmsg::doctor
