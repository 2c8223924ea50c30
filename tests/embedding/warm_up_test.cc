// What the function on the page builds.

#include "warm_up.h"

#include <google/protobuf/generated_message_reflection.h>
#include <gtest/gtest.h>
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

// The sanitizers have locks of their own, which a fork leaves as the other thread held them.
#if !QMSG_SANITIZED

// A child in which the runtime waits for a lock is ended by this, in seconds.
constexpr unsigned kPatience = 20;
constexpr int kForks = 300;

std::string UseWithoutLookingUpNames() {
  alarm(kPatience);
  SqlQuery query;
  query.ParseFromString("\x2a\x01q");
  const auto* field = SqlQuery::descriptor()->field(0);
  SqlQuery::GetReflection()->ClearField(&query, field);
  return query.SerializeAsString() + ' ' + query.GetTypeName() + ' ' + query.ShortDebugString();
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
    good += result == "\x2a\x01q quor.protobuf.Tarq.SqlQuery query: \"q\"" ? 1 : 0;
  }
  stop = true;
  other.join();
  EXPECT_EQ(good, kForks);
  EXPECT_EQ(problem, "");
}

#endif

}  // namespace
