// What several threads may do at the same time: read one message, and make messages on one arena.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>
#include <qmsg/jobqueue.pb.h>

#include "support/expected_bytes.h"
#include "support/fill.h"
#include "support/message_class.h"
#include "support/threads.h"

namespace contract {
namespace {

using quor::protobuf::JQ::AttrList;
using quor::protobuf::JQ::Job;

constexpr std::size_t kThreads = 16;

// Calls read(message) in all threads at once for each filling of each message type. It is the first
// read of the message, when the runtime does deferred work: it caches the size of each sub-message,
// and builds the list of a map's entries that reflection needs.
template <class Read>
void ReadTogether(const Read& read) {
  ForEachFilling([&read](const Message& prototype, int filling) {
    const std::unique_ptr<const Message> message = Filled(prototype, filling);
    const std::unique_ptr<const Message> equal = Filled(prototype, filling);
    const std::string bytes = ExpectedBytes(*equal);
    RunTogether(kThreads, [&](std::size_t /*thread*/) { read(*message, *equal, bytes); });
  });
}

TEST(SharedMessage, IsWrittenByAllThreadsAtOnce) {
  ReadTogether([](const Message& message, const Message& /*equal*/, const std::string& bytes) {
    EXPECT_EQ(DeterministicBytes(message), bytes);
  });
}

TEST(SharedMessage, IsMeasuredByAllThreadsAtOnce) {
  ReadTogether([](const Message& message, const Message& /*equal*/, const std::string& bytes) {
    EXPECT_EQ(message.ByteSizeLong(), bytes.size());
  });
}

TEST(SharedMessage, IsReadByReflectionInAllThreadsAtOnce) {
  ReadTogether([](const Message& message, const Message& /*equal*/, const std::string& bytes) {
    EXPECT_EQ(ExpectedBytes(message), bytes);
  });
}

TEST(SharedMessage, IsComparedByAllThreadsAtOnce) {
  ReadTogether([](const Message& message, const Message& equal, const std::string& /*bytes*/) {
    EXPECT_TRUE(google::protobuf::util::MessageDifferencer::Equals(message, equal));
  });
}

TEST(SharedMessage, IsCopiedByAllThreadsAtOnce) {
  ReadTogether([](const Message& message, const Message& /*equal*/, const std::string& bytes) {
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
  for (const MessageClass& type : MessageClasses()) {
    RunTogether(kThreads, [&type](std::size_t /*thread*/) {
      const Message& message = *type.default_instance;
      EXPECT_EQ(message.SerializeAsString(), "");
      EXPECT_EQ(ExpectedBytes(message), "");
      EXPECT_EQ(type.copy_construct(message)->ByteSizeLong(), 0U);
    });
  }
}

// Each thread has messages of its own, of all types, on an arena that belongs to all threads.
TEST(SharedArena, TakesMessagesFromAllThreadsAtOnce) {
  Arena arena;
  std::vector<std::vector<const Message*>> made(kThreads);
  RunTogether(kThreads, [&](std::size_t thread) {
    const int filling = static_cast<int>(thread);
    for (const MessageClass& type : MessageClasses()) {
      made[thread].push_back(&FilledClass{type, filling}.OnArena(arena));
    }
  });
  for (std::size_t thread = 0; thread < kThreads; ++thread) {
    for (const Message* const message : made[thread]) {
      EXPECT_EQ(message->GetArena(), &arena);
      EXPECT_EQ(DeterministicBytes(*message),
                ExpectedBytes(*Filled(*message, static_cast<int>(thread))));
    }
  }
}

// A thread that moves a message from the heap to the arena, or copies it back, does not disturb the
// others.
TEST(SharedArena, TakesAndReleasesMessagesInAllThreadsAtOnce) {
  Arena arena;
  RunTogether(kThreads, [&](std::size_t thread) {
    const int filling = static_cast<int>(thread);
    Job& job = *Arena::CreateMessage<Job>(&arena);
    auto list = std::make_unique<AttrList>();
    Fill(*list, filling);
    const std::string bytes = ExpectedBytes(*list);
    job.set_allocated_attr_list(list.release());
    const std::unique_ptr<AttrList> released(job.release_attr_list());
    EXPECT_EQ(DeterministicBytes(*released), bytes);
  });
}

}  // namespace
}  // namespace contract
