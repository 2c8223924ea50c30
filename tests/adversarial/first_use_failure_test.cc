// An allocation fails while the descriptors of a file are made, which happens once in a process.
// Nothing in this program may ask for a descriptor outside of the processes that it forks.

#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>
#include <qmsg/jobqueue.pb.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <new>
#include <set>
#include <string>

#include "support/allocations.h"

namespace {

using google::protobuf::DescriptorPool;
using quor::protobuf::JQ::Job;

// Not an exit status of a sanitizer.
enum Status : int { kUsable = 10, kNeverFailed, kUnusable, kThrows };

bool DescriptorsAreWhole() {
  Job job;
  job.set_body("text");
  return Job::descriptor() != nullptr && Job::descriptor()->full_name() == "quor.protobuf.JQ.Job" &&
         Job::descriptor()->file()->message_type_count() == 10 &&
         DescriptorPool::generated_pool()->FindMessageTypeByName("quor.protobuf.JQ.Job") ==
             Job::descriptor() &&
         job.DebugString() == "body: \"text\"\n";
}

[[noreturn]] void UseTwice(std::size_t nth) {
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
  close(STDERR_FILENO);
  constexpr unsigned kSeconds = 5;
  alarm(kSeconds);  // Should the second use wait for the first forever.
  bool happened = false;
  {
    const allocations::Failure failure(nth);
    try {
      Job::descriptor();
    } catch (const std::bad_alloc&) {
      happened = true;
    }
    if (!happened && !failure.Happened()) {
      _exit(kNeverFailed);
    }
  }
  try {
    _exit(DescriptorsAreWhole() ? kUsable : kUnusable);
  } catch (const google::protobuf::FatalException&) {
    _exit(kThrows);
  }
}

// What the second use finds.
std::string SecondUseAfter(std::size_t nth) {
  const pid_t child = fork();
  if (child == 0) {
    UseTwice(nth);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) {
    return "no child process";
  }
  if (WIFSIGNALED(status)) {
    return WTERMSIG(status) == SIGALRM ? "waits forever" : "dies";
  }
  switch (WEXITSTATUS(status)) {
    case kUsable:
      return "usable";
    case kNeverFailed:
      return "never failed";
    case kUnusable:
      return "unusable";
    case kThrows:
      return "throws";
    default:
      return "dies";
  }
}

// Until the runtime has entered the first name of the file into its tables, the next use begins
// anew. From then on half a file stays there, and the next use stumbles over it. What never happens
// is that it returns something wrong.
TEST(FailedFirstUse, IsMadeGoodByTheNextOneOrNeverAgain) {
  std::set<std::string> outcomes;
  for (std::size_t nth = 1;; ++nth) {
    const std::string outcome = SecondUseAfter(nth);
    if (outcome == "never failed") {
      break;
    }
    outcomes.insert(outcome);
  }
  const std::set<std::string> known = {"usable", "dies", "throws", "waits forever"};
  EXPECT_EQ(outcomes, known);
}

}  // namespace
