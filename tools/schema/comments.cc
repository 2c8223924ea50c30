#include "schema/comments.h"

#include <google/protobuf/descriptor.pb.h>

#include <map>
#include <stdexcept>

#include "schema/descriptor_set.h"

namespace qmsg {
namespace pb = google::protobuf;

namespace {

using Comments = std::map<std::string, std::string>;  // by the names that descriptors give

// Removes the space after the comment markers, and the new line at the end.
std::string Tidy(const std::string& comment) {
  std::string text;
  bool at_begin = true;
  for (const char character : comment) {
    if (!at_begin || character != ' ') {
      text += character;
    }
    at_begin = character == '\n';
  }
  while (!text.empty() && text.back() == '\n') {
    text.pop_back();
  }
  return text;
}

template <typename Descriptor>
void Add(const Descriptor* descriptor, Comments& comments) {
  pb::SourceLocation location;
  if (descriptor->GetSourceLocation(&location)) {
    comments[descriptor->full_name()] = Tidy(location.leading_comments);
  }
}

void AddEnum(const pb::EnumDescriptor* type, Comments& comments) {
  Add(type, comments);
  for (int i = 0; i < type->value_count(); ++i) {
    Add(type->value(i), comments);
  }
}

void AddMessage(const pb::Descriptor* message, Comments& comments) {
  Add(message, comments);
  for (int i = 0; i < message->field_count(); ++i) {
    Add(message->field(i), comments);
  }
  for (int i = 0; i < message->real_oneof_decl_count(); ++i) {
    Add(message->oneof_decl(i), comments);
  }
  for (int i = 0; i < message->enum_type_count(); ++i) {
    AddEnum(message->enum_type(i), comments);
  }
  for (int i = 0; i < message->nested_type_count(); ++i) {
    AddMessage(message->nested_type(i), comments);
  }
}

void AddFile(const pb::FileDescriptor* file, Comments& comments) {
  pb::SourceLocation location;
  if (file->GetSourceLocation({pb::FileDescriptorProto::kSyntaxFieldNumber}, &location) &&
      !location.leading_detached_comments.empty()) {
    comments[file->name()] = Tidy(location.leading_detached_comments.front());
  }
  for (int i = 0; i < file->message_type_count(); ++i) {
    AddMessage(file->message_type(i), comments);
  }
  for (int i = 0; i < file->enum_type_count(); ++i) {
    AddEnum(file->enum_type(i), comments);
  }
}

Comments ReadComments() {
  pb::FileDescriptorSet set;
  if (!set.ParseFromArray(kDescriptorSet, static_cast<int>(kDescriptorSetSize))) {
    throw std::logic_error("the descriptor set in the tool is damaged");
  }
  Comments comments;
  pb::DescriptorPool pool;
  for (const pb::FileDescriptorProto& proto : set.file()) {
    const pb::FileDescriptor* file = pool.BuildFile(proto);
    if (file == nullptr) {
      throw std::logic_error("the descriptor set in the tool lacks what " + proto.name() +
                             " imports");
    }
    AddFile(file, comments);
  }
  return comments;
}

}  // namespace

const std::string& CommentOf(const Element& element) {
  static const Comments* const kComments = new Comments(ReadComments());
  static const std::string* const kNone = new std::string;
  // Enum values: the pool has them beside their enum.
  const auto* value = std::get_if<const pb::EnumValueDescriptor*>(&element);
  const auto found = kComments->find(value != nullptr ? (*value)->full_name() : FullName(element));
  return found == kComments->end() ? *kNone : found->second;
}

}  // namespace qmsg
