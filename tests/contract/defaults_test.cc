// What a message is before anything was set, and what its class says about itself.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include "fill.h"
#include "message_list.h"

namespace contract {
namespace {

// A nested message stands just before the one that contains it.
void AppendFlattened(const Descriptor* message, std::vector<const Descriptor*>& order) {
  for (int i = 0; i < message->nested_type_count(); ++i) {
    AppendFlattened(message->nested_type(i), order);
  }
  order.push_back(message);
}

std::vector<const Descriptor*> Flattened(const FileDescriptor* file) {
  std::vector<const Descriptor*> order;
  for (int i = 0; i < file->message_type_count(); ++i) {
    AppendFlattened(file->message_type(i), order);
  }
  return order;
}

TEST(DefaultMessage, IsWrittenAsNoBytesAtAll) {
  AllMessages::ForEach([](auto type) {
    const typename decltype(type)::Message message;
    EXPECT_EQ(message.ByteSizeLong(), 0U) << message.GetTypeName();
    EXPECT_EQ(message.SerializeAsString(), "") << message.GetTypeName();
  });
}

TEST(DefaultMessage, IsWhatNoBytesAreReadAs) {
  for (const Message* prototype : Prototypes()) {
    const std::unique_ptr<Message> message = Filled(*prototype, 0);
    EXPECT_TRUE(message->ParseFromString("")) << prototype->GetTypeName();
    EXPECT_EQ(message->SerializeAsString(), "") << prototype->GetTypeName();
  }
}

TEST(DefaultMessage, HasNoFieldSet) {
  AllMessages::ForEach([](auto type) {
    const typename decltype(type)::Message message;
    std::vector<const FieldDescriptor*> set;
    message.GetReflection()->ListFields(message, &set);
    EXPECT_TRUE(set.empty()) << message.GetTypeName();
  });
}

TEST(AnyMessage, IsInitialized) {
  ForEachFilling([](const Message& prototype, int filling) {
    EXPECT_TRUE(prototype.IsInitialized()) << prototype.GetTypeName();
    EXPECT_TRUE(Filled(prototype, filling)->IsInitialized()) << prototype.GetTypeName();
  });
}

TEST(MessageClass, KnowsItsOneDefaultInstance) {
  AllMessages::ForEach([](auto type) {
    using M = typename decltype(type)::Message;
    EXPECT_EQ(&M::default_instance(), M::internal_default_instance()) << M().GetTypeName();
    EXPECT_EQ(google::protobuf::MessageFactory::generated_factory()->GetPrototype(M::descriptor()),
              M::internal_default_instance())
        << M().GetTypeName();
  });
}

TEST(MessageClass, HasTheDescriptorOfThePoolUnderItsFullName) {
  AllMessages::ForEach([](auto type) {
    using M = typename decltype(type)::Message;
    const Descriptor* pooled =
        google::protobuf::DescriptorPool::generated_pool()->FindMessageTypeByName(
            M().GetTypeName());
    ASSERT_NE(pooled, nullptr) << M().GetTypeName();
    EXPECT_EQ(M::descriptor(), pooled);
    EXPECT_EQ(M::GetDescriptor(), pooled);
    EXPECT_EQ(M().GetMetadata().descriptor, pooled);
    EXPECT_EQ(M::GetReflection(), M().GetMetadata().reflection);
    EXPECT_EQ(M().GetTypeName(), pooled->full_name());
  });
}

TEST(MessageClass, HasItsIndexInTheFlattenedOrderOfItsFile) {
  AllMessages::ForEach([](auto type) {
    using M = typename decltype(type)::Message;
    const std::vector<const Descriptor*> order = Flattened(M::descriptor()->file());
    const int index = M::kIndexInFileMessages;
    ASSERT_LT(index, static_cast<int>(order.size())) << M().GetTypeName();
    EXPECT_EQ(order[static_cast<std::size_t>(index)], M::descriptor()) << M().GetTypeName();
  });
  EXPECT_EQ(int{JQ::Result::kIndexInFileMessages}, 0);
  EXPECT_EQ(int{JQ::AttrList::kIndexInFileMessages}, 2);
  EXPECT_EQ(int{JQ::JobList::kIndexInFileMessages}, 10);
}

TEST(MessageClass, HandsOutItsOwnClassData) {
  AllMessages::ForEach([](auto type) {
    using M = typename decltype(type)::Message;
    // This program may hold a copy of the data: what it says counts.
    EXPECT_EQ(M().GetClassData()->merge_to_from, M::_class_data_.merge_to_from)
        << M().GetTypeName();
    EXPECT_EQ(M().GetClassData()->copy_to_from, M::_class_data_.copy_to_from) << M().GetTypeName();
  });
}

}  // namespace
}  // namespace contract
