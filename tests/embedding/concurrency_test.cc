// Threads and children that begin at the same time, in a host that loads the library.

#include <gtest/gtest.h>

#include <array>
#include <sstream>

#include "host.h"

namespace embedding {
namespace {

constexpr int kThreads = 16;
constexpr int kChildren = 8;

std::string UsedBy(const Plugin& plugin) {
  return plugin.use() == 0 ? plugin.declarations() : "the plugin failed";
}

void ExpectDeclarations(const std::vector<std::string>& results) {
  const Opened plugin(QMSG_PLUGIN_TWO);
  const std::string declarations = plugin.plugin().declarations();
  EXPECT_NE(declarations.find("quor.protobuf.JQ.Job message Job {"), std::string::npos);
  for (const std::string& result : results) {
    EXPECT_EQ(result, declarations);
  }
}

// Where it lies, as text.
std::string ReflectionSeenBy(const Plugin& plugin) {
  std::array<const void*, QMSG_PLUGIN_ADDRESSES> addresses{};
  const std::size_t count = plugin.reflection_addresses(addresses.data());
  std::ostringstream text;
  for (std::size_t i = 0; i < count; ++i) {
    text << addresses.at(i) << '\n';
  }
  return text.str();
}

TEST(Threads, MayAllOpenAndUseTheLibraryAtOnce) {
  ExpectDeclarations(InThreads(kThreads, [] {
    const Opened plugin(QMSG_PLUGIN_ONE);
    return UsedBy(plugin.plugin());
  }));
}

TEST(Threads, MayAllBeTheFirstToAskForReflection) {
  const Opened plugin(QMSG_PLUGIN_ONE);
  const auto results = InThreads(kThreads, [&plugin] { return ReflectionSeenBy(plugin.plugin()); });
  const std::string seen_now = ReflectionSeenBy(Opened(QMSG_PLUGIN_TWO).plugin());
  EXPECT_NE(seen_now, "");
  for (const std::string& seen : results) {
    EXPECT_EQ(seen, seen_now);
  }
}

TEST(Threads, MayAllBeTheFirstToUseMessages) {
  const Opened plugin(QMSG_PLUGIN_ONE);
  ExpectDeclarations(InThreads(kThreads, [&plugin] { return UsedBy(plugin.plugin()); }));
}

TEST(Fork, LeavesEachChildToBuildReflectionForItself) {
  const Opened plugin(QMSG_PLUGIN_ONE);
  ExpectDeclarations(InChildren(kChildren, [&plugin] { return UsedBy(plugin.plugin()); }));
}

TEST(Fork, GivesEachChildTheReflectionThatIsThere) {
  const Opened plugin(QMSG_PLUGIN_ONE);
  ASSERT_EQ(plugin.plugin().use(), 0);
  ExpectDeclarations(InChildren(kChildren, [&plugin] { return UsedBy(plugin.plugin()); }));
}

TEST(Fork, MayComeBeforeTheLibraryIsLoaded) {
  ExpectDeclarations(InChildren(kChildren, [] {
    EXPECT_FALSE(IsInProcess(QMSG_LIBRARY));
    const Opened plugin(QMSG_PLUGIN_ONE);
    return UsedBy(plugin.plugin());
  }));
  EXPECT_FALSE(IsInProcess(QMSG_PLUGIN_ONE));
}

}  // namespace
}  // namespace embedding
