#include "recorder/sampling.h"

#include <pthread.h>

#include <atomic>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <thread>

#include "recorder/engine.h"

namespace {

// One for each process. A forked one leaves its parent's as it is: a lock in it may be held.
struct Sampler {
  std::mutex mutex;
  std::condition_variable changed;
  bool is_wanted = false;
  std::chrono::microseconds interval{};
};

Sampler* sampler = nullptr;
std::atomic<bool> is_due{false};
void (*take)(void* execute_data) = nullptr;
void (*previous_interrupt)(zend_execute_data* execute_data) = nullptr;

void OnInterrupt(zend_execute_data* execute_data) {
  if (is_due.exchange(false, std::memory_order_relaxed)) {
    take(execute_data);
  }
  if (previous_interrupt != nullptr) {
    previous_interrupt(execute_data);
  }
}

void Run(Sampler* own) {
  std::unique_lock<std::mutex> lock(own->mutex);
  for (;;) {
    own->changed.wait(lock, [own] { return own->is_wanted; });
    const auto interval = own->interval;
    lock.unlock();
    std::this_thread::sleep_for(interval);
    lock.lock();
    if (own->is_wanted) {
      is_due.store(true, std::memory_order_relaxed);
      zend_atomic_bool_store(&EG(vm_interrupt), true);
    }
  }
}

}  // namespace

void InstallSampler(void (*take_sample)(void* execute_data)) {
  take = take_sample;
  previous_interrupt = zend_interrupt_function;
  zend_interrupt_function = OnInterrupt;
}

void StartSampling(std::chrono::microseconds interval) {
  if (sampler == nullptr) {
    sampler = new Sampler;
    // PHP's signals, and those of its server, are for the thread that serves requests.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread(Run, sampler).detach();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
  }
  {
    const std::lock_guard<std::mutex> lock(sampler->mutex);
    sampler->interval = interval;
    sampler->is_wanted = true;
  }
  sampler->changed.notify_one();
}

void StopSampling() {
  if (sampler != nullptr) {
    const std::lock_guard<std::mutex> lock(sampler->mutex);
    sampler->is_wanted = false;
  }
  is_due = false;
}

void SamplingAfterFork() {
  sampler = nullptr;
  is_due = false;
}
