// Several threads ask for descriptors that nobody in the process has asked for before.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "message_list.h"

namespace contract {
namespace {

using google::protobuf::Descriptor;

using DescriptorGetter = const Descriptor* (*)();

constexpr std::size_t kThreads = 14;

std::vector<DescriptorGetter> Getters() {
  std::vector<DescriptorGetter> getters;
  AllMessages::ForEach([&](auto type) { getters.push_back(&decltype(type)::Message::descriptor); });
  return getters;
}

TEST(FirstUse, GivesEachOfSeveralThreadsTheDescriptorsOfThePool) {
  const std::vector<DescriptorGetter> getters = Getters();
  std::vector<std::vector<const Descriptor*>> seen(
      kThreads, std::vector<const Descriptor*>(getters.size(), nullptr));
  std::atomic<std::size_t> ready{0};
  std::vector<std::thread> threads;
  for (std::size_t thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      ++ready;
      while (ready != kThreads) {
      }
      // Half of the threads begin with the first file, half with the last.
      for (std::size_t i = 0; i < getters.size(); ++i) {
        const std::size_t message = thread % 2 == 0 ? i : getters.size() - 1 - i;
        seen[thread][message] = getters[message]();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  for (std::size_t message = 0; message < getters.size(); ++message) {
    ASSERT_NE(seen[0][message], nullptr);
    const Descriptor* pooled =
        google::protobuf::DescriptorPool::generated_pool()->FindMessageTypeByName(
            seen[0][message]->full_name());
    for (const auto& of_thread : seen) {
      EXPECT_EQ(of_thread[message], pooled) << pooled->full_name();
    }
  }
}

}  // namespace
}  // namespace contract
