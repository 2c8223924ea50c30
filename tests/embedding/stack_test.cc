// How much stack a thread needs for the deepest input that is read.

#include <google/protobuf/message.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <qmsg/tarq.pb.h>

#include <string>

#include "use.h"

namespace {

using quor::protobuf::Tarq::SqlQuery;

constexpr std::size_t kSmall = std::size_t{64} * 1024;
constexpr int kDeepest = 100;

// Field 1000, group: begin is its number << 3 | 3, end is number << 3 | 4.
constexpr char kBegin[] = "\xc3\x3e";
constexpr char kEnd[] = "\xc4\x3e";

std::string Nested(int depth) {
  std::string begins;
  std::string ends;
  for (int i = 0; i < depth; ++i) {
    begins += kBegin;
    ends += kEnd;
  }
  return begins + ends;
}

void OnThreadWithStackOf(std::size_t size, void* (*function)(void*), void* argument) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, size), 0);
  pthread_t thread{};
  ASSERT_EQ(pthread_create(&thread, &attributes, function, argument), 0);
  ASSERT_EQ(pthread_join(thread, nullptr), 0);
  pthread_attr_destroy(&attributes);
}

TEST(Stack, Of64KiBIsEnoughForTheDeepestInputThatIsRead) {
  OnThreadWithStackOf(
      kSmall,
      [](void*) -> void* {
        const std::string bytes = Nested(kDeepest);
        SqlQuery query;
        EXPECT_TRUE(query.ParseFromString(bytes));
        EXPECT_EQ(query.SerializeAsString(), bytes);
        const SqlQuery copy = query;
        EXPECT_NE(copy.DebugString(), "");
        return nullptr;
      },
      nullptr);
}

TEST(Stack, Of64KiBIsEnoughToRefuseWhatIsDeeper) {
  OnThreadWithStackOf(
      kSmall,
      [](void*) -> void* {
        SqlQuery query;
        EXPECT_FALSE(query.ParseFromString(Nested(kDeepest + 1)));
        EXPECT_FALSE(query.ParseFromString(Nested(1000000)));
        return nullptr;
      },
      nullptr);
}

TEST(Stack, Of64KiBIsEnoughForTheFirstUseOfReflectionAndJson) {
  OnThreadWithStackOf(
      kSmall,
      [](void*) -> void* {
        EXPECT_EQ(embedding::Use(), "");
        EXPECT_NE(embedding::Declarations(), "");
        return nullptr;
      },
      nullptr);
}

}  // namespace
