// Several threads use descriptors and reflection for the first time in a process. Each test is a
// process of its own.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "support/message_class.h"
#include "support/threads.h"

namespace contract {
namespace {

using google::protobuf::DescriptorPool;
using google::protobuf::MessageFactory;

constexpr std::size_t kThreads = 16;

using DescriptorGetter = const Descriptor* (*)();

std::vector<DescriptorGetter> Getters() {
  std::vector<DescriptorGetter> getters;
  for (const MessageClass& type : MessageClasses()) {
    getters.push_back(type.descriptor);
  }
  return getters;
}

std::vector<const Message*> DefaultInstances() {
  std::vector<const Message*> instances;
  for (const MessageClass& type : MessageClasses()) {
    instances.push_back(type.default_instance);
  }
  return instances;
}

// Half of the threads begin with the first message, half with the last.
std::size_t InOrderOf(std::size_t thread, std::size_t i, std::size_t count) {
  return thread % 2 == 0 ? i : count - 1 - i;
}

const Descriptor* Pooled(const std::string& full_name) {
  return DescriptorPool::generated_pool()->FindMessageTypeByName(full_name);
}

TEST(FirstUse, GivesEachOfSeveralThreadsTheDescriptorsOfThePool) {
  const std::vector<DescriptorGetter> getters = Getters();
  std::vector<std::vector<const Descriptor*>> seen(
      kThreads, std::vector<const Descriptor*>(getters.size(), nullptr));
  RunTogether(kThreads, [&](std::size_t thread) {
    for (std::size_t i = 0; i < getters.size(); ++i) {
      const std::size_t message = InOrderOf(thread, i, getters.size());
      seen[thread][message] = getters[message]();
    }
  });
  for (std::size_t message = 0; message < getters.size(); ++message) {
    ASSERT_NE(seen[0][message], nullptr);
    const Descriptor* pooled = Pooled(seen[0][message]->full_name());
    for (const auto& of_thread : seen) {
      EXPECT_EQ(of_thread[message], pooled) << pooled->full_name();
    }
  }
}

TEST(FirstUse, GivesSeveralThreadsTheSameReflection) {
  const std::vector<const Message*> instances = DefaultInstances();
  std::vector<std::vector<const Reflection*>> seen(
      kThreads, std::vector<const Reflection*>(instances.size(), nullptr));
  RunTogether(kThreads, [&](std::size_t thread) {
    for (std::size_t i = 0; i < instances.size(); ++i) {
      const std::size_t message = InOrderOf(thread, i, instances.size());
      EXPECT_EQ(instances[message]->DebugString(), "");
      seen[thread][message] = instances[message]->GetReflection();
    }
  });
  const std::set<const Reflection*> different(seen[0].begin(), seen[0].end());
  EXPECT_EQ(different.size(), instances.size());
  for (const auto& of_thread : seen) {
    EXPECT_EQ(of_thread, seen[0]);
  }
}

// One thread finds a message by its name while another gets it from its class.
TEST(FirstUse, MayBeByNameInSomeThreadsAndByClassInOthers) {
  const std::vector<const Message*> instances = DefaultInstances();
  RunTogether(kThreads, [&](std::size_t thread) {
    for (const Message* const instance : instances) {
      if (thread % 2 == 0) {
        EXPECT_EQ(
            MessageFactory::generated_factory()->GetPrototype(Pooled(instance->GetTypeName())),
            instance);
      } else {
        EXPECT_EQ(instance->GetDescriptor()->full_name(), instance->GetTypeName());
      }
    }
  });
}

}  // namespace
}  // namespace contract
