// What the function on the page builds.

#include "warm_up.h"

#include <dlfcn.h>
#include <google/protobuf/generated_message_reflection.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <qmsg/codetrace.pb.h>
#include <qmsg/config.pb.h>
#include <qmsg/jobqueue.pb.h>
#include <qmsg/login.pb.h>
#include <qmsg/monitor.pb.h>
#include <qmsg/quorphp.pb.h>
#include <qmsg/tarq.pb.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

#include "host.h"
#include "use.h"

#if !QMSG_SANITIZED  // which has a function of that name itself

namespace {

// How often this thread has asked for a lock.
thread_local int locks_taken = 0;

}  // namespace

extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
  static const auto next =
      reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
  ++locks_taken;
  return next(mutex);
}

#endif

namespace {

using google::protobuf::internal::DescriptorTable;
using quor::protobuf::Tarq::SqlQuery;

// Maps have hidden classes of their own: one here.
constexpr int kClasses = 49 + 1;

int ClassesWithReflection() {
  int count = 0;
  for (const DescriptorTable* table :
       {&descriptor_table_codetrace_2eproto, &descriptor_table_config_2eproto,
        &descriptor_table_jobqueue_2eproto, &descriptor_table_login_2eproto,
        &descriptor_table_monitor_2eproto, &descriptor_table_quorphp_2eproto,
        &descriptor_table_tarq_2eproto}) {
    for (int i = 0; i < table->num_messages; ++i) {
      count += table->file_level_metadata[i].reflection != nullptr ? 1 : 0;
    }
  }
  return count;
}

TEST(WarmUp, BuildsTheReflectionDataOfAllMessages) {
  ASSERT_EQ(ClassesWithReflection(), 0) << "this process has used some of it";
  WarmUp();
  EXPECT_EQ(ClassesWithReflection(), kClasses);
}

// The sanitizers' own locks stay in a child as another thread held them.
#if !QMSG_SANITIZED

// A child in which the runtime waits for a lock is ended by this, in seconds.
constexpr unsigned kPatience = 20;
constexpr int kForks = 300;

// By hand: query; a duration with nothing in it; a stack trace with an empty frame.
const std::string kBytes{"\x2a\x01q\x4a\x00\x5a\x02\x0a\x00", 9};
const std::string kUsed =
    kBytes + " quor.protobuf.Tarq.SqlQuery query: \"q\" duration { } stack_trace { frames { } }";

std::string UseWithoutLookingUpNames() {
  alarm(kPatience);
  SqlQuery query;
  query.ParseFromString(kBytes);
  SqlQuery::GetReflection()->ClearField(&query, SqlQuery::descriptor()->field(0));
  return query.SerializeAsString() + ' ' + query.GetTypeName() + ' ' + query.ShortDebugString();
}

TEST(WarmUp, LeavesNoLockToTakeInAChild) {
  locks_taken = 0;
  WarmUp();
  EXPECT_GT(locks_taken, 0) << "this test does not see them";
  locks_taken = 0;
  EXPECT_EQ(UseWithoutLookingUpNames(), kUsed);
  EXPECT_EQ(locks_taken, 0);
}

TEST(WarmUp, LetsAProcessForkWhileAnotherThreadUsesMessages) {
  WarmUp();
  std::atomic<bool> stop{false};
  std::string problem;
  std::thread other([&] {
    while (!stop && problem.empty()) {
      problem = embedding::Use();
    }
  });
  int good = 0;
  for (int i = 0; i < kForks; ++i) {
    const std::string result = embedding::InChildren(1, &UseWithoutLookingUpNames).front();
    good += result == kUsed ? 1 : 0;
  }
  stop = true;
  other.join();
  EXPECT_EQ(good, kForks);
  EXPECT_EQ(problem, "");
}

#endif

}  // namespace
