// The schema without the generated classes: a descriptor pool of its own, and dynamic messages that
// read and write by these descriptors only.
#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor.pb.h>
#include <google/protobuf/dynamic_message.h>

#include <functional>

namespace fuzz {

class DynamicTypes {
 public:
  using Change = std::function<void(google::protobuf::FileDescriptorProto&)>;

  // `change` is applied to each schema file before it is built.
  explicit DynamicTypes(Change change = nullptr) : change_(std::move(change)) {}

  // The default instance of the type of the same name. It lives as long as this object. Throws
  // std::runtime_error if the changed schema is not valid or has no such type.
  const google::protobuf::Message& Prototype(const google::protobuf::Descriptor& compiled);

 private:
  void Build(const google::protobuf::FileDescriptor& file);

  Change change_;
  google::protobuf::DescriptorPool pool_;
  google::protobuf::DynamicMessageFactory factory_{&pool_};
};

}  // namespace fuzz
