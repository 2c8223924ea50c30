// Threads that begin at the same moment.
#pragma once

#include <atomic>
#include <cstddef>
#include <thread>
#include <vector>

// Calls action(0) ... action(count - 1), each in a thread of its own, and returns when all are
// done. None begins before all threads run.
template <class Action>
void RunTogether(std::size_t count, const Action& action) {
  std::atomic<std::size_t> waiting{count};
  std::vector<std::thread> threads;
  threads.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    threads.emplace_back([&waiting, &action, i] {
      --waiting;
      while (waiting != 0) {
        std::this_thread::yield();
      }
      action(i);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}
