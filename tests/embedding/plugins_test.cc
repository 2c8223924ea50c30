// Two plugins that know nothing of each other, in a host that knows nothing of the library.

#include <gtest/gtest.h>

#include <memory>

#include "host.h"

namespace embedding {
namespace {

TEST(TwoPlugins, ShareOneSetOfClasses) {
  const Opened one(QMSG_PLUGIN_ONE);
  const Opened two(QMSG_PLUGIN_TWO);
  ASSERT_NE(&one.plugin(), &two.plugin());

  void* message = one.plugin().make("SELECT 1");
  EXPECT_TRUE(two.plugin().reads(message, "SELECT 1"));
  EXPECT_FALSE(two.plugin().reads(message, "SELECT 2"));
  two.plugin().drop(message);
}

TEST(TwoPlugins, GoOnWithoutEachOther) {
  // The one that brings the runtime may stay, because the runtime may use inline functions of it.
  const Opened two(QMSG_PLUGIN_TWO);
  auto one = std::make_unique<Opened>(QMSG_PLUGIN_ONE);
  void* message = one->plugin().make("made by the plugin that is gone");
  ASSERT_EQ(one->plugin().use(), 0);
  one.reset();
  EXPECT_FALSE(IsInProcess(QMSG_PLUGIN_ONE));

  EXPECT_TRUE(two.plugin().reads(message, "made by the plugin that is gone"));
  EXPECT_EQ(two.plugin().use(), 0);
  two.plugin().drop(message);
}

}  // namespace
}  // namespace embedding
