// A message before anything is set, and what its class says about itself.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <map>

#include "support/fill.h"
#include "support/message_class.h"

namespace contract {
namespace {

TEST(DefaultMessage, IsWrittenAsNoBytesAtAll) {
  for (const MessageClass& type : MessageClasses()) {
    const std::unique_ptr<Message> message = type.construct();
    EXPECT_EQ(message->ByteSizeLong(), 0U) << message->GetTypeName();
    EXPECT_EQ(message->SerializeAsString(), "") << message->GetTypeName();
  }
}

TEST(DefaultMessage, IsWhatNoBytesAreReadAs) {
  for (const Message* prototype : Prototypes()) {
    const std::unique_ptr<Message> message = Filled(*prototype, 0);
    EXPECT_TRUE(message->ParseFromString("")) << prototype->GetTypeName();
    EXPECT_EQ(message->SerializeAsString(), "") << prototype->GetTypeName();
  }
}

TEST(DefaultMessage, HasNoFieldSet) {
  for (const MessageClass& type : MessageClasses()) {
    const std::unique_ptr<Message> message = type.construct();
    std::vector<const FieldDescriptor*> set;
    message->GetReflection()->ListFields(*message, &set);
    EXPECT_TRUE(set.empty()) << message->GetTypeName();
  }
}

TEST(AnyMessage, IsInitialized) {
  ForEachFilling([](const Message& prototype, int filling) {
    EXPECT_TRUE(prototype.IsInitialized());
    EXPECT_TRUE(Filled(prototype, filling)->IsInitialized());
  });
}

TEST(MessageClass, HasOneDefaultInstance) {
  for (const MessageClass& type : MessageClasses()) {
    EXPECT_EQ(type.default_instance, type.internal_default_instance);
    EXPECT_EQ(
        google::protobuf::MessageFactory::generated_factory()->GetPrototype(type.descriptor()),
        type.default_instance)
        << type.default_instance->GetTypeName();
  }
}

TEST(MessageClass, HasTheDescriptorOfThePoolUnderItsFullName) {
  for (const MessageClass& type : MessageClasses()) {
    const Message& message = *type.default_instance;
    SCOPED_TRACE(message.GetTypeName());
    const Descriptor* pooled =
        google::protobuf::DescriptorPool::generated_pool()->FindMessageTypeByName(
            message.GetTypeName());
    ASSERT_NE(pooled, nullptr);
    EXPECT_EQ(type.descriptor(), pooled);
    EXPECT_EQ(type.get_descriptor(), pooled);
    EXPECT_EQ(message.GetDescriptor(), pooled);
    EXPECT_EQ(type.get_reflection(), message.GetReflection());
    EXPECT_EQ(message.GetTypeName(), pooled->full_name());
  }
}

// The classes are listed as they are declared. The entry type of the map stands before the message
// that contains it.
TEST(MessageClass, HasItsIndexInTheOrderOfDeclaration) {
  std::map<const FileDescriptor*, int> next;
  for (const MessageClass& type : MessageClasses()) {
    int& index = next[type.descriptor()->file()];
    index += type.descriptor()->nested_type_count();
    EXPECT_EQ(type.index_in_file, index) << type.default_instance->GetTypeName();
    ++index;
  }
}

TEST(MessageClass, HandsOutItsOwnClassData) {
  for (const MessageClass& type : MessageClasses()) {
    // This program may hold a copy of the data, so the functions count.
    const MessageClass::Data data = type.get_class_data(*type.default_instance);
    EXPECT_EQ(data.merge_to_from, type.class_data.merge_to_from)
        << type.default_instance->GetTypeName();
    EXPECT_EQ(data.copy_to_from, type.class_data.copy_to_from)
        << type.default_instance->GetTypeName();
  }
}

}  // namespace
}  // namespace contract
