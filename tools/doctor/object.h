// A shared object in its file.
#pragma once

#include <string>
#include <vector>

#include "doctor/elf_file.h"
#include "doctor/embedded_files.h"

namespace qmsg::doctor {

struct SchemaFile {
  std::string name;     // "login.proto"
  std::string package;  // "quor.protobuf.Login"
  std::string bytes;    // the serialised FileDescriptorProto
};

// The schema files that this tool was built with.
const std::vector<SchemaFile>& KnownSchemaFiles();

struct Carried {
  EmbeddedFile file;
  bool known;  // it is byte-identical to the known schema file of that name
};

struct Object {
  std::string path;  // absolute, without symbolic links
  ElfFile elf;
  std::vector<Carried> files;

  bool IsUsable() const { return elf.fault.empty() && !elf.is_program; }
  bool Needs(const std::string& soname) const;
  // The first SONAME in `needed` with that prefix; empty if there is none.
  std::string Needed(const std::string& beginning) const;
};

// Throws Error if the file does not exist or cannot be read.
Object ReadObject(const std::string& path);

// "1.0.0" of libqmsg.so.1.0.0; "unknown" if the name does not end so.
std::string VersionOf(const std::string& path);

}  // namespace qmsg::doctor
