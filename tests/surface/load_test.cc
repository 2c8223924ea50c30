// A process that is not linked with the library and loads it at run time.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/dynamic_message.h>
#include <gtest/gtest.h>

#include <memory>

#include "support/loaded_library.h"

namespace {

using google::protobuf::Descriptor;
using google::protobuf::DescriptorPool;
using google::protobuf::Message;
using google::protobuf::MessageFactory;

constexpr char kLoaded[] = QMSG_LIBRARY;

const Descriptor* Find(const char* name) {
  return DescriptorPool::generated_pool()->FindMessageTypeByName(name);
}

TEST(LoadedLibrary, MakesItsMessagesKnownToThePoolBeforeAnyIsUsed) {
  ASSERT_EQ(Find("quor.protobuf.JQ.Job"), nullptr) << "this process already has the library";
  ASSERT_NE(LoadLibraryFile(kLoaded), nullptr);
  EXPECT_NE(Find("quor.protobuf.JQ.Job"), nullptr);
  EXPECT_NE(Find("quor.protobuf.QuorPHP.QVal"), nullptr);
}

TEST(LoadedLibrary, RegistersAllSevenFilesAndAllMessages) {
  ASSERT_NE(LoadLibraryFile(kLoaded), nullptr);
  const struct {
    const char* file;
    int messages;
  } files[] = {{"codetrace.proto", 1}, {"config.proto", 3},  {"jobqueue.proto", 10},
               {"login.proto", 2},     {"monitor.proto", 5}, {"quorphp.proto", 11},
               {"tarq.proto", 17}};
  for (const auto& expected : files) {
    const auto* file = DescriptorPool::generated_pool()->FindFileByName(expected.file);
    ASSERT_NE(file, nullptr) << expected.file;
    EXPECT_EQ(file->message_type_count(), expected.messages) << expected.file;
    EXPECT_EQ(file->service_count(), 0) << expected.file;
  }
}

TEST(LoadedLibrary, GivesItsClassesToTheGeneratedFactory) {
  ASSERT_NE(LoadLibraryFile(kLoaded), nullptr);
  const Message* prototype =
      MessageFactory::generated_factory()->GetPrototype(Find("quor.protobuf.Login.Login"));
  ASSERT_NE(prototype, nullptr);
  const std::unique_ptr<Message> login(prototype->New());
  ASSERT_TRUE(login->ParseFromString("\x0a\x04host"));
  EXPECT_EQ(login->ShortDebugString(), "hostname: \"host\"");
}

}  // namespace
