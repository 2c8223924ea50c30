// A process that is not linked with the DLL: loads it at run time, and lets it go.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <memory>

namespace {

using google::protobuf::Descriptor;
using google::protobuf::DescriptorPool;
using google::protobuf::Message;
using google::protobuf::MessageFactory;

constexpr char kName[] = "qmsg.dll";

const Descriptor* Find(const char* name) {
  return DescriptorPool::generated_pool()->FindMessageTypeByName(name);
}

TEST(LoadedDll, MakesItsMessagesKnownToThePoolBeforeAnyIsUsed) {
  ASSERT_EQ(Find("quor.protobuf.JQ.Job"), nullptr) << "this process already has the DLL";
  ASSERT_NE(LoadLibraryA(kName), nullptr) << GetLastError();
  EXPECT_NE(Find("quor.protobuf.JQ.Job"), nullptr);
  EXPECT_NE(Find("quor.protobuf.QuorPHP.QVal"), nullptr);
}

TEST(LoadedDll, RegistersAllSevenFilesAndAllMessages) {
  ASSERT_NE(LoadLibraryA(kName), nullptr) << GetLastError();
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
  }
}

TEST(LoadedDll, GivesItsClassesToTheGeneratedFactory) {
  ASSERT_NE(LoadLibraryA(kName), nullptr) << GetLastError();
  const Message* prototype =
      MessageFactory::generated_factory()->GetPrototype(Find("quor.protobuf.Login.Login"));
  ASSERT_NE(prototype, nullptr);
  const std::unique_ptr<Message> login(prototype->New());
  ASSERT_TRUE(login->ParseFromString("\x0a\x04host"));
  EXPECT_EQ(login->ShortDebugString(), "hostname: \"host\"");
}

TEST(LoadedDll, StaysWhileAnyoneHoldsIt) {
  const HMODULE first = LoadLibraryA(kName);
  ASSERT_NE(first, nullptr) << GetLastError();
  EXPECT_EQ(LoadLibraryA(kName), first);
  ASSERT_TRUE(FreeLibrary(first));
  EXPECT_EQ(GetModuleHandleA(kName), first);
  EXPECT_NE(Find("quor.protobuf.Tarq.SqlQueries"), nullptr);
}

TEST(LoadedDll, LeavesTheProcessWithTheLastWhoHoldsIt) {
  const HMODULE library = LoadLibraryA(kName);
  ASSERT_NE(library, nullptr) << GetLastError();
  ASSERT_TRUE(FreeLibrary(library));
  EXPECT_EQ(GetModuleHandleA(kName), nullptr);
}

TEST(LoadedDll, EndsTheProcessThatLoadsItOnceMore) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto load_again = [] {
    FreeLibrary(LoadLibraryA(kName));
    LoadLibraryA(kName);
  };
  EXPECT_DEATH(load_again(), "File already exists in database: codetrace.proto");
}

TEST(LoadedDll, StaysForGoodWhenItsUserPinsIt) {
  const HMODULE library = LoadLibraryA(kName);
  ASSERT_NE(library, nullptr) << GetLastError();
  HMODULE pinned = nullptr;
  ASSERT_TRUE(GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN, kName, &pinned));
  EXPECT_EQ(pinned, library);
  for (int i = 0; i < 5; ++i) {
    FreeLibrary(library);
  }
  EXPECT_EQ(GetModuleHandleA(kName), library);
  EXPECT_EQ(LoadLibraryA(kName), library);
  EXPECT_NE(Find("quor.protobuf.Tarq.SqlQueries"), nullptr);
}

}  // namespace
