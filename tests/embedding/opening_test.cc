// Opening and closing, by a host that knows the library only as a file.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

#include "heap.h"
#include "host.h"

namespace embedding {
namespace {

struct ModeCase {
  const char* name;
  int mode;
};

void PrintTo(const ModeCase& mode, std::ostream* out) { *out << mode.name; }

constexpr ModeCase kModes[] = {
    {"lazy_local", RTLD_LAZY | RTLD_LOCAL},
    {"lazy_global", RTLD_LAZY | RTLD_GLOBAL},
    {"now_local", RTLD_NOW | RTLD_LOCAL},
    {"now_global", RTLD_NOW | RTLD_GLOBAL},
#if !QMSG_SANITIZED  // The address sanitizer refuses these.
    {"lazy_local_deepbind", RTLD_LAZY | RTLD_LOCAL | RTLD_DEEPBIND},
    {"lazy_global_deepbind", RTLD_LAZY | RTLD_GLOBAL | RTLD_DEEPBIND},
#endif
};

class Mode : public testing::TestWithParam<ModeCase> {};

INSTANTIATE_TEST_SUITE_P(, Mode, testing::ValuesIn(kModes),
                         [](const auto& mode) { return mode.param.name; });

TEST_P(Mode, OfOpeningChangesNothing) {
  const Opened plugin(QMSG_PLUGIN_ONE, GetParam().mode);
  EXPECT_EQ(plugin.plugin().use(), 0);
}

TEST_P(Mode, OfTheLibraryMayDifferFromThatOfAPlugin) {
  const Opened library(QMSG_LIBRARY, GetParam().mode);
  const Opened plugin(QMSG_PLUGIN_ONE, RTLD_NOW | RTLD_LOCAL);
  EXPECT_EQ(plugin.plugin().use(), 0);
}

TEST(Closing, LeavesTheLibraryInTheProcess) {
  ASSERT_FALSE(IsInProcess(QMSG_LIBRARY));
  { const Opened library(QMSG_LIBRARY, RTLD_NOW); }
  EXPECT_TRUE(IsInProcess(QMSG_LIBRARY));
}

// The loader keeps some memory when it sees a file for the first time.
constexpr int kFirstTimes = 2;
constexpr int kTimes = 50;
// The least that the heap grows by if one allocation is left behind each time. The allocator itself
// may keep a few bytes once.
constexpr long kOneAllocationEachTime = (kTimes - kFirstTimes) * 32L;

template <typename Task>
long GrowthAfterTheFirstTimes(const Task& task) {
  std::size_t after_the_first = 0;
  for (int i = 1; i <= kTimes; ++i) {
    task();
    if (i == kFirstTimes) {
      after_the_first = HeapInUse();
    }
  }
  return static_cast<long>(HeapInUse() - after_the_first);
}

TEST(FiftyTimes, OpenedAndClosedTakesNoMoreMemoryThanTwice) {
  EXPECT_LT(GrowthAfterTheFirstTimes([] { const Opened library(QMSG_LIBRARY, RTLD_NOW); }),
            kOneAllocationEachTime);
  EXPECT_EQ(Opened(QMSG_PLUGIN_ONE, RTLD_NOW).plugin().use(), 0);
}

#if !QMSG_SANITIZED  // With the sanitizers in it, a module leaves something behind each time.
TEST(FiftyTimes, APluginOpenedUsedAndClosedTakesNoMoreMemoryThanTwice) {
  EXPECT_LT(GrowthAfterTheFirstTimes(
                [] { EXPECT_EQ(Opened(QMSG_PLUGIN_ONE, RTLD_NOW).plugin().use(), 0); }),
            kOneAllocationEachTime);
}
#endif

}  // namespace
}  // namespace embedding
