// The lists of message classes and the fillings are complete.

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
