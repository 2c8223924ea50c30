// A process that loads the library and closes it.

#include <dlfcn.h>
#include <google/protobuf/descriptor.h>
#include <gtest/gtest.h>

namespace {

TEST(LoadedLibrary, StaysAfterItIsClosed) {
  void* first = dlopen(QMSG_LIBRARY, RTLD_NOW);
  ASSERT_NE(first, nullptr) << dlerror();
  ASSERT_EQ(dlclose(first), 0);
  EXPECT_NE(dlopen(QMSG_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr) << "it left the process";
  EXPECT_NE(dlopen(QMSG_LIBRARY, RTLD_NOW), nullptr) << dlerror();
  EXPECT_NE(google::protobuf::DescriptorPool::generated_pool()->FindMessageTypeByName(
                "quor.protobuf.Tarq.SqlQueries"),
            nullptr);
}

}  // namespace
