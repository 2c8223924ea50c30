#include "dynamic_types.h"

#include <stdexcept>

namespace fuzz {

using google::protobuf::Descriptor;
using google::protobuf::FileDescriptor;
using google::protobuf::FileDescriptorProto;
using google::protobuf::Message;

const Message& DynamicTypes::Prototype(const Descriptor& compiled) {
  Build(*compiled.file());
  const Descriptor* type = pool_.FindMessageTypeByName(compiled.full_name());
  if (type == nullptr) {
    throw std::runtime_error("The changed schema has no " + compiled.full_name());
  }
  return *factory_.GetPrototype(type);
}

void DynamicTypes::Build(const FileDescriptor& file) {
  if (pool_.FindFileByName(file.name()) != nullptr) {
    return;
  }
  for (int i = 0; i < file.dependency_count(); ++i) {
    Build(*file.dependency(i));
  }
  FileDescriptorProto declarations;
  file.CopyTo(&declarations);
  if (change_) {
    change_(declarations);
  }
  if (pool_.BuildFile(declarations) == nullptr) {
    throw std::runtime_error("The changed schema is not valid: " + file.name());
  }
}

}  // namespace fuzz
