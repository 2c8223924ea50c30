// What several threads may do at the same time: read one message, and make messages on one arena.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include "../support/threads.h"
#include "expected_bytes.h"
#include "fill.h"
#include "typed_fill.h"

namespace contract {
namespace {

constexpr std::size_t kThreads = 16;

// Calls read(message) in all threads at once for each filling of each message type. Nobody has read
// the message before, so what the runtime puts off until then, it does now: it keeps the size of
// each sub-message, and gives the pairs of a map the shape that reflection wants.
template <class Read>
void ReadTogether(const Read& read) {
  ForEachFilling([&read](const Message& prototype, int filling) {
    SCOPED_TRACE(prototype.GetTypeName());
    const std::unique_ptr<const Message> message = Filled(prototype, filling);
    const std::unique_ptr<const Message> twin = Filled(prototype, filling);
    const std::string bytes = ExpectedBytes(*twin);
    RunTogether(kThreads, [&](std::size_t /*thread*/) { read(*message, *twin, bytes); });
  });
}

TEST(SharedMessage, IsWrittenByAllThreadsAtOnce) {
  ReadTogether([](const Message& message, const Message& /*twin*/, const std::string& bytes) {
    EXPECT_EQ(DeterministicBytes(message), bytes);
  });
}

TEST(SharedMessage, IsMeasuredByAllThreadsAtOnce) {
  ReadTogether([](const Message& message, const Message& /*twin*/, const std::string& bytes) {
    EXPECT_EQ(message.ByteSizeLong(), bytes.size());
  });
}

TEST(SharedMessage, IsReadByReflectionInAllThreadsAtOnce) {
  ReadTogether([](const Message& message, const Message& /*twin*/, const std::string& bytes) {
    EXPECT_EQ(ExpectedBytes(message), bytes);
  });
}

TEST(SharedMessage, IsComparedByAllThreadsAtOnce) {
  ReadTogether([](const Message& message, const Message& twin, const std::string& /*bytes*/) {
    EXPECT_TRUE(google::protobuf::util::MessageDifferencer::Equals(message, twin));
  });
}

TEST(SharedMessage, IsCopiedByAllThreadsAtOnce) {
  ReadTogether([](const Message& message, const Message& /*twin*/, const std::string& bytes) {
    const std::unique_ptr<Message> copy = NewOnHeap(message);
    copy->CopyFrom(message);
    EXPECT_EQ(DeterministicBytes(*copy), bytes);
    copy->MergeFrom(message);
    EXPECT_GE(copy->ByteSizeLong(), bytes.size());
  });
}

// Some threads write it while others copy, measure or reflect on it.
TEST(SharedMessage, IsReadInDifferentWaysAtOnce) {
  ForEachFilling([](const Message& prototype, int filling) {
    SCOPED_TRACE(prototype.GetTypeName());
    const std::unique_ptr<const Message> message = Filled(prototype, filling);
    const std::string bytes = ExpectedBytes(*Filled(prototype, filling));
    RunTogether(kThreads, [&](std::size_t thread) {
      switch (thread % 4) {
        case 0:
          EXPECT_EQ(DeterministicBytes(*message), bytes);
          break;
        case 1:
          EXPECT_EQ(message->ByteSizeLong(), bytes.size());
          break;
        case 2:
          EXPECT_EQ(ExpectedBytes(*message), bytes);
          break;
        default: {
          const std::unique_ptr<Message> copy = NewOnHeap(*message);
          copy->CopyFrom(*message);
          EXPECT_EQ(DeterministicBytes(*copy), bytes);
        }
      }
    });
  });
}

TEST(SharedMessage, MayBeTheDefaultInstance) {
  AllMessages::ForEach([](auto type) {
    using M = typename decltype(type)::Message;
    RunTogether(kThreads, [](std::size_t /*thread*/) {
      const M& message = M::default_instance();
      EXPECT_EQ(message.SerializeAsString(), "");
      EXPECT_EQ(ExpectedBytes(message), "");
      EXPECT_EQ(M(message).ByteSizeLong(), 0U);
    });
  });
}

// Each thread has messages of its own, of all types, on an arena that belongs to all threads.
TEST(SharedArena, TakesMessagesFromAllThreadsAtOnce) {
  Arena arena;
  std::vector<std::vector<const Message*>> made(kThreads);
  RunTogether(kThreads, [&](std::size_t thread) {
    const int filling = static_cast<int>(thread);
    AllMessages::ForEach([&](auto type) {
      using M = typename decltype(type)::Message;
      made[thread].push_back(&FilledOn<M>(arena, filling));
    });
  });
  for (std::size_t thread = 0; thread < kThreads; ++thread) {
    for (const Message* const message : made[thread]) {
      EXPECT_EQ(message->GetArena(), &arena);
      EXPECT_EQ(DeterministicBytes(*message),
                ExpectedBytes(*Filled(*message, static_cast<int>(thread))));
    }
  }
}

// What a thread takes over from the heap, or copies off the arena, does not disturb the others.
TEST(SharedArena, TakesOverAndGivesBackInAllThreadsAtOnce) {
  Arena arena;
  RunTogether(kThreads, [&](std::size_t thread) {
    const int filling = static_cast<int>(thread);
    JQ::Job& job = *Arena::CreateMessage<JQ::Job>(&arena);
    job.set_allocated_attr_list(FilledOnHeap<JQ::AttrList>(filling).release());
    const std::unique_ptr<JQ::AttrList> released(job.release_attr_list());
    EXPECT_EQ(DeterministicBytes(*released), FilledBytes<JQ::AttrList>(filling));
  });
}

}  // namespace
}  // namespace contract
