// The schema files that are compiled into an object, whether its symbols show it or not.
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

// Generated code holds the serialised FileDescriptorProto of its schema file, which begins with the
// file's name. Finds files whose name ends in ".proto" and has at most 127 bytes.
std::vector<EmbeddedFile> FindEmbeddedFiles(std::string_view bytes);

}  // namespace qmsg::doctor
