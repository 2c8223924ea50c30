// The cost of loading a library of messages in a process that has loaded the protobuf runtime.

#include <dlfcn.h>
#include <google/protobuf/descriptor.h>

#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "private_memory.h"

int main(int argc, char** argv) try {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() != 2 || (arguments[0] != "now" && arguments[0] != "lazy")) {
    std::fputs(
        "Usage: bench_startup now|lazy LIBRARY\n"
        "Prints the nanoseconds that dlopen takes, and the private memory that it adds, in KiB.\n"
        "Functions are bound at once, or each when it is called first.\n",
        stderr);
    return 2;
  }
  // So that the runtime's own pool exists.
  google::protobuf::DescriptorPool::generated_pool();
  const int binding = arguments[0] == "now" ? RTLD_NOW : RTLD_LAZY;
  bench::PrivateDirty();  // allocates on the first call
  const long memory = bench::PrivateDirty();
  const auto start = std::chrono::steady_clock::now();
  void* const handle = dlopen(arguments[1].c_str(), binding | RTLD_LOCAL);
  const std::chrono::nanoseconds time = std::chrono::steady_clock::now() - start;
  if (handle == nullptr) {
    throw std::runtime_error(dlerror());  // NOLINT(concurrency-mt-unsafe): the only thread
  }
  std::printf("%lld\t%ld\n", static_cast<long long>(time.count()), bench::PrivateDirty() - memory);
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "bench_startup: %s\n", error.what());
  return 1;
}
