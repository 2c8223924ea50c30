// The lists that the sweeps run over leave nothing out.

#include "message_list.h"

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "fill.h"

namespace contract {
namespace {

using Names = std::set<std::string>;

std::vector<const FileDescriptor*> SchemaFiles() {
  std::vector<const FileDescriptor*> files;
  for (const char* name : {"codetrace.proto", "config.proto", "jobqueue.proto", "login.proto",
                           "monitor.proto", "quorphp.proto", "tarq.proto"}) {
    files.push_back(google::protobuf::DescriptorPool::generated_pool()->FindFileByName(name));
  }
  return files;
}

std::string KindOf(const FieldDescriptor& field) {
  const bool is_string = field.type() == FieldDescriptor::TYPE_STRING;
  const bool is_message = field.type() == FieldDescriptor::TYPE_MESSAGE;
  if (field.is_map()) {
    return "map";
  }
  if (field.is_repeated()) {
    return is_string ? "repeated string" : is_message ? "repeated message" : "repeated scalar";
  }
  return std::string(field.containing_oneof() != nullptr ? "oneof " : "") + (is_string ? "string"
                                                                             : is_message
                                                                                 ? "message"
                                                                                 : "scalar");
}

TEST(MessageList, HoldsEachMessageOfTheSevenFilesOnce) {
  Names declared;
  for (const FileDescriptor* file : SchemaFiles()) {
    ASSERT_NE(file, nullptr);
    for (int i = 0; i < file->message_type_count(); ++i) {
      declared.insert(file->message_type(i)->full_name());
    }
  }
  Names listed;
  for (const Message* prototype : Prototypes()) {
    listed.insert(prototype->GetTypeName());
  }
  EXPECT_EQ(listed, declared);
  EXPECT_EQ(Prototypes().size(), 49U);
}

TEST(FieldList, HoldsEachFieldOnceWithItsKind) {
  std::multiset<std::string> declared;
  for (const Message* prototype : Prototypes()) {
    for (const FieldDescriptor* field : Fields(*prototype)) {
      declared.insert(field->full_name() + ": " + KindOf(*field));
    }
  }
  std::multiset<std::string> listed;
  const auto add = [&listed](const Descriptor* message, const char* field, const char* kind) {
    listed.insert(message->full_name() + '.' + field + ": " + kind);
  };
#define SCALAR_FIELD(M, x) add(M::descriptor(), #x, "scalar");
#define STRING_FIELD(M, x) add(M::descriptor(), #x, "string");
#define MESSAGE_FIELD(M, x) add(M::descriptor(), #x, "message");
#define REPEATED_STRING_FIELD(M, x) add(M::descriptor(), #x, "repeated string");
#define REPEATED_MESSAGE_FIELD(M, x) add(M::descriptor(), #x, "repeated message");
#define MAP_FIELD(M, x) add(M::descriptor(), #x, "map");
#define ONEOF_SCALAR(M, g, x, kX) add(M::descriptor(), #x, "oneof scalar");
#define ONEOF_STRING(M, g, x, kX) add(M::descriptor(), #x, "oneof string");
#define ONEOF_MESSAGE(M, g, x, kX) add(M::descriptor(), #x, "oneof message");
#include "field_list.inc"
  EXPECT_EQ(listed, declared);
}

TEST(Fillings, ReachEachMemberOfEachOneof) {
  int most_members = 0;
  for (const Message* prototype : Prototypes()) {
    const Descriptor* descriptor = prototype->GetDescriptor();
    for (int i = 0; i < descriptor->oneof_decl_count(); ++i) {
      most_members = std::max(most_members, descriptor->oneof_decl(i)->field_count());
    }
  }
  EXPECT_EQ(most_members, kFillings);
}

TEST(Fillings, LeaveNoFieldOutsideAOneofEmpty) {
  ForEachFilling([](const Message& prototype, int filling) {
    const std::unique_ptr<Message> message = Filled(prototype, filling);
    for (const FieldDescriptor* field : Fields(*message)) {
      const Reflection& reflection = *message->GetReflection();
      if (field->is_repeated()) {
        EXPECT_EQ(reflection.FieldSize(*message, field), 2) << field->full_name();
      } else if (field->containing_oneof() == nullptr) {
        EXPECT_TRUE(reflection.HasField(*message, field)) << field->full_name();
      } else {
        EXPECT_TRUE(reflection.HasOneof(*message, field->containing_oneof()));
      }
    }
  });
}

}  // namespace
}  // namespace contract
