// A shared object as it lies in its file.
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

// The schema files as this tool knows them.
const std::vector<SchemaFile>& KnownSchemaFiles();

struct Carried {
  EmbeddedFile file;
  bool known;  // it is, byte by byte, the schema file of that name
};

struct Object {
  std::string path;  // absolute, without symbolic links
  ElfFile elf;
  std::vector<Carried> files;

  bool IsUsable() const { return elf.fault.empty() && !elf.is_program; }
  bool Needs(const std::string& soname) const;
  // The first SONAME that it is linked with that begins so; empty if there is none.
  std::string Needed(const std::string& beginning) const;
};

// Throws Error if there is no file of that name, or none that can be read.
Object ReadObject(const std::string& path);

// "1.0.0" of libqmsg.so.1.0.0; "unknown" where the name ends otherwise.
std::string VersionOf(const std::string& path);

}  // namespace qmsg::doctor
