// A process that loads the DLL, and lets it go.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>
#include <windows.h>

namespace {

constexpr char kName[] = "qmsg.dll";

bool ThePoolKnowsItsTypes() {
  return google::protobuf::DescriptorPool::generated_pool()->FindMessageTypeByName(
             "quor.protobuf.Tarq.SqlQueries") != nullptr;
}

TEST(LoadedDll, StaysWhileAnyoneHoldsIt) {
  const HMODULE first = LoadLibraryA(kName);
  ASSERT_NE(first, nullptr) << GetLastError();
  EXPECT_EQ(LoadLibraryA(kName), first);
  ASSERT_TRUE(FreeLibrary(first));
  EXPECT_EQ(GetModuleHandleA(kName), first);
  EXPECT_TRUE(ThePoolKnowsItsTypes());
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
  EXPECT_TRUE(ThePoolKnowsItsTypes());
}

}  // namespace
