// Finds the schema files that are compiled into an object, even if its symbols do not show them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qmsg::doctor {

struct EmbeddedFile {
  std::string name;     // "login.proto"
  std::string package;  // "quor.protobuf.Login"; empty if the file declares none
  std::size_t offset;   // of its serialised FileDescriptorProto
};

// Generated code contains the serialised FileDescriptorProto of its schema file, which begins with
// the file's name. Finds files with names that end in ".proto" and have at most 127 bytes.
std::vector<EmbeddedFile> FindEmbeddedFiles(std::string_view bytes);

}  // namespace qmsg::doctor
